// Who gets in, and how much.

#include <cmath>
#include <cstdlib>
#include <fstream>

#include "services/remote/message_bytes.h"
#include "services/remote/remote_backends.h"
#include "services/remote/secrets.h"
#include "support/remote_fixture.h"
#include "support/scripted_server.h"

namespace tessra::testing {
namespace {

using grpc::StatusCode;
using remote::RemoteError;
using Reason = RemoteError::Reason;
using ::testing::HasSubstr;

TEST(Addresses, are_read_or_refused) {
  const struct {
    const char* url;
    const char* target;
    bool tls, local;
  } good[] = {{"grpc://localhost:1", "localhost:1", false, true},
              {"grpc://127.0.0.2:65535", "127.0.0.2:65535", false, true},
              {"grpc://[::1]:7", "[::1]:7", false, true},
              {"grpc://example.org:7", "example.org:7", false, false},
              {"grpc://127.evil.org:7", "127.evil.org:7", false, false},
              {"grpcs://10.0.0.1:7", "10.0.0.1:7", true, false},
              {"grpc+unix:/run/s", "unix:/run/s", false, true}};
  for (const auto& given : good) {
    const remote::Address address = remote::read_url(given.url);
    EXPECT_EQ(address.target, given.target);
    EXPECT_EQ(address.tls, given.tls) << given.url;
    EXPECT_EQ(address.local, given.local) << given.url;
    EXPECT_EQ(address.url(), given.url);
  }
  for (const char* bad : {"grpc:", "grpc://", "grpc://host", "grpc://host:", "grpc://host:65536", "grpc://:7",
                          "grpc://host:7/path", "grpc://me@host:7", "grpc://::1:7", "grpc+unix:", "http://host:7"}) {
    EXPECT_THROW(remote::read_url(bad), Error) << bad;
  }
}

TEST(Secrets, are_compared_whole) {
  EXPECT_TRUE(remote::same_secret("abc", "abc"));
  for (const char* other : {"", "ab", "abcd", "abd", "abcabc"})
    EXPECT_FALSE(remote::same_secret(other, "abc")) << other;
  EXPECT_FALSE(remote::same_secret("a", ""));
  EXPECT_NE(remote::random_id(), remote::random_id());
}

class RemoteAccess : public Remote {
 protected:
  std::string write(const std::string& name, const std::string& text) const {
    std::ofstream(folder_.path() / name) << text;
    return (folder_.path() / name).string();
  }

  std::unique_ptr<remote::ServiceHost> host_at(const std::string& listen, const remote::ServerAccess& access) {
    auto host = std::make_unique<remote::ServiceHost>(remote::read_listen_address(listen, !access.certificate.empty()),
                                                      access, scenarios("check"));
    host->set_ready();
    return host;
  }

  /// Calls without the client's own care.
  template <class Reply, class Request>
  grpc::Status call(const std::string& method, const Request& request, Reply& reply) {
    if (transport_ == nullptr)
      transport_ = std::make_unique<remote::Transport>(settings().address, remote::ClientAccess());
    return transport_->call(method, request, reply, std::chrono::seconds(5));
  }
  v1::OpenRoomReply open(const std::string& side = "") {
    v1::OpenRoomRequest request;
    request.set_request_id(remote::random_id());
    request.set_side(side);
    v1::OpenRoomReply room;
    EXPECT_TRUE(call("OpenRoom", request, room).ok());
    return room;
  }

  std::unique_ptr<remote::Transport> transport_;
};

TEST_F(RemoteAccess, beyond_loopback_takes_a_certificate_and_a_secret) {
  EXPECT_THROW(host_at("0.0.0.0:0", {}), Error);
  EXPECT_THROW(host_at("0.0.0.0:0", {.token = "t"}), Error);
  EXPECT_THROW(host_at("0.0.0.0:0", {.certificate = "c", .key = "k"}), Error);
  EXPECT_THROW(host_at("127.0.0.1:0", {.certificate = "c"}), Error);
  const auto first = host_at("127.0.0.1:0", {});
  EXPECT_THROW(host_at(first->address().target, {}), SurroundingsError) << "the port is taken";
  serve(scenarios("check"));
  EXPECT_THROW(host_at("unix:" + socket(), {}), SurroundingsError) << "the socket is taken";
  remote::RemoteSettings far = settings();
  far.address = remote::read_url("grpc://192.0.2.1:7");
  far.access.token = "t";
  EXPECT_EQ(reason_of([&] { remote::RemoteServer(far).connect_server(); }), Reason::refused_token);
}

TEST_F(RemoteAccess, asks_for_the_token) {
  serve(scenarios("check"), {.token = remote::read_token(write("token", "secret\n"))});
  for (const char* token : {"", "wrong", "secre", "secrett"}) {
    remote::RemoteSettings given = settings();
    given.access.token = token;
    remote::RemoteServer client(given);
    EXPECT_EQ(reason_of([&] { client.connect_server(); }), Reason::refused_token) << token;
  }
  remote::RemoteSettings right = settings();
  right.access.token = "secret";
  EXPECT_TRUE(remote::RemoteServer(right).connect_server().truthy());
  EXPECT_THROW(remote::read_token(write("empty", "\n")), Error);
  EXPECT_THROW(remote::read_token(write("two", "a\nb\n")), Error);
  for (const char* odd : {"t\xc3\xb6k\xc3\xa9n", "a\x01z"}) {
    EXPECT_THROW(remote::read_token(write("odd", odd)), Error);
    right.access.token = odd;
    EXPECT_THROW(remote::RemoteServer(right).connect_server(), Error);
  }
  EXPECT_THROW(remote::read_token(folder_.path() / "nosuch"), SurroundingsError);
}

TEST_F(RemoteAccess, checks_certificates_of_both_ends) {
  const std::string folder = folder_.path().string();
  const std::string make =
      "cd " + folder +
      " && openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -days 2 -subj /CN=127.0.0.1 "
      "-addext subjectAltName=IP:127.0.0.1 -keyout key.pem -out cert.pem 2>/dev/null";
  ASSERT_EQ(std::system(make.c_str()), 0);
  const std::string certificate = remote::read_pem(folder + "/cert.pem");
  const std::string key = remote::read_pem(folder + "/key.pem");
  const auto host = host_at("127.0.0.1:0", {.certificate = certificate, .key = key, .client_authority = certificate});
  remote::RemoteSettings client = settings();
  client.address = remote::read_url(host->address().url());
  remote::RemoteServer stranger(client);
  EXPECT_TRUE(stranger.connect_server().is_none()) << "the server's authority is not known";
  EXPECT_THAT(stranger.last_failure(), HasSubstr("certificate verify failed"));
  client.access.trusted = certificate;
  EXPECT_TRUE(remote::RemoteServer(client).connect_server().is_none()) << "no certificate of the client's";
  client.access.certificate = certificate;
  client.access.key = key;
  EXPECT_TRUE(remote::RemoteServer(client).connect_server().truthy());
}

TEST_F(RemoteAccess, settings_that_cannot_be_used_are_named) {
  const struct {
    const char* server;
    const char* says;
  } cases[] = {
      {R"({"url": "grpc:nohost"})", "'grpc:nohost' is no address"},
      {R"({"url": "grpc://localhost:1", "ca_file": "x"})", "server.ca_file needs grpcs://"},
      {R"({"url": "grpc://localhost:1", "token_file": "/nosuch"})", "cannot read /nosuch"},
      {R"({"url": "grpc://localhost:1", "lease": 86401})", "server.lease"},
  };
  for (const auto& given : cases) {
    try {
      remote::check_remote_settings(Dict{{"server", read_json(given.server)}});
      ADD_FAILURE() << given.server;
    } catch (const Error& error) {
      EXPECT_THAT(error.what(), HasSubstr(given.says));
    }
  }
  EXPECT_NO_THROW(remote::check_remote_settings(Dict{{"server", Dict{{"url", "grpcthing:x"}}}}));
}

TEST_F(RemoteAccess, a_room_answers_to_its_token_and_its_numbers) {
  serve(scenarios("check"));
  const v1::OpenRoomReply mine = open();
  const v1::OpenRoomReply other = open();
  const auto list = [&](const std::string& room, const std::string& token, std::uint64_t number) {
    v1::ListScenariosRequest request;
    request.mutable_call()->set_room(room);
    request.mutable_call()->set_token(token);
    request.mutable_call()->set_number(number);
    v1::ListScenariosReply reply;
    return call("ListScenarios", request, reply);
  };
  EXPECT_EQ(list(mine.room(), other.token(), 1).error_code(), StatusCode::PERMISSION_DENIED);
  EXPECT_EQ(list(mine.room(), "", 1).error_code(), StatusCode::PERMISSION_DENIED);
  EXPECT_EQ(list("nosuch", mine.token(), 1).error_code(), StatusCode::NOT_FOUND);
  for (const std::uint64_t number : {0, 2}) {
    const grpc::Status status = list(mine.room(), mine.token(), number);
    EXPECT_EQ(status.error_code(), StatusCode::OUT_OF_RANGE);
    EXPECT_THAT(status.error_message(), HasSubstr("expected, 1"));
  }
  EXPECT_TRUE(list(mine.room(), mine.token(), 1).ok());
  v1::GetSidesRequest another;
  another.mutable_call()->set_room(mine.room());
  another.mutable_call()->set_token(mine.token());
  another.mutable_call()->set_number(1);
  v1::GetSidesReply sides;
  EXPECT_EQ(call("GetSides", another, sides).error_code(), StatusCode::OUT_OF_RANGE) << "not the call of that number";
  v1::CloseRoomRequest close;
  close.set_room(mine.room());
  close.set_token(other.token());
  v1::CloseRoomReply closed;
  EXPECT_EQ(call("CloseRoom", close, closed).error_code(), StatusCode::PERMISSION_DENIED);
  v1::ListRoomsRequest rooms;
  v1::ListRoomsReply listed;
  EXPECT_TRUE(call("ListRooms", rooms, listed).ok());
  EXPECT_EQ(listed.rooms_size(), 0) << "nobody learns of the rooms of clients without an id";
}

TEST_F(RemoteAccess, limits_are_refused_by_name) {
  remote::RoomOptions options = scenarios("check");
  options.limits.commands = 2;
  options.limits.command_bytes = 100;
  serve(options);
  remote::RemoteServer client(settings());
  client.connect_server();
  client.reset(0);
  client.load_scenario("tiny");
  client.add_command(std::string(101, 'x'));
  EXPECT_EQ(reason_of([&] { client.do_package_command(); }), Reason::too_large);
  for (int i = 0; i < 3; ++i) client.add_command("x");
  EXPECT_EQ(reason_of([&] { client.do_package_command(); }), Reason::too_large);
  client.add_command("x");
  EXPECT_EQ(client.do_package_command().as_dict().at("refused").as_list().size(), 1U) << "the room goes on";
  for (const double seconds : {0.5, -1.0, 1e300, std::nan("")}) {
    EXPECT_EQ(reason_of([&] { client.update_step_interval(seconds); }), Reason::bad_request) << seconds;
  }
}

TEST_F(RemoteAccess, names_of_scenarios_lead_nowhere) {
  serve(scenarios("check"));
  remote::RemoteServer client(settings());
  client.connect_server();
  client.reset(0);
  for (const std::string& name : {std::string("../strait"), std::string(TESSRA_SOURCE_DIR "/scenarios/strait"),
                                  std::string("/etc/passwd\0", 12), std::string(300, 'x'), std::string(".")}) {
    EXPECT_EQ(client.load_scenario(name), Value(false)) << name;
  }
  EXPECT_TRUE(client.load_scenario("tiny").is_true());
}

TEST_F(RemoteAccess, a_record_larger_than_a_message_is_refused_by_the_server) {
  remote::RoomOptions options;
  options.make_backend = [](const remote::RoomPlan&) {
    auto service = std::make_shared<ScriptedServer>();
    service->initial = Dict{{"text", std::string(5'000'000, 'x')}};
    service->updates = {Dict{{"text", std::string(remote::kLargestMessage, 'x')}}};
    return service;
  };
  serve(options);
  remote::RemoteServer client(settings());
  client.connect_server();
  client.reset(0);
  client.load_scenario("strait");
  EXPECT_EQ(client.get_init_situation().as_dict().at_text("text").size(), 5'000'000U);
  EXPECT_EQ(reason_of([&] { client.run_simulate(); }), Reason::too_large);
}

}  // namespace
}  // namespace tessra::testing
