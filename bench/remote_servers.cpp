#include "bench/remote_servers.h"

#include <fmt/format.h>
#include <grpcpp/security/server_credentials.h>
#include <grpcpp/server_builder.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <iostream>
#include <list>
#include <sstream>

#include "Tessra/base/json_read.h"
#include "Tessra/base/json_write.h"
#include "bench/situations.h"
#include "services/remote/message_bytes.h"
#include "services/remote/service_host.h"
#include "tessra/v1/simulation.grpc.pb.h"
#include "tests/support/scripted_server.h"

namespace tessra::bench {

namespace {

constexpr const char* kAnyPort = "127.0.0.1:0";

/// What every server is compared with: a call that does nothing but answer with so many bytes.
class EchoServer : public v1::Simulation::WithRawCallbackMethod_Advance<v1::Simulation::Service> {
 public:
  explicit EchoServer(const Records& records) {
    for (const std::string& text : records) {
      v1::AdvanceReply reply;
      reply.mutable_record()->set_encoding(v1::Json::ENCODING_JSON);
      reply.mutable_record()->set_text(text);
      replies_.push_back(remote::pack(reply));
    }
    grpc::ServerBuilder builder;
    builder.SetMaxSendMessageSize(remote::kLargestMessage);
    builder.AddListeningPort(kAnyPort, grpc::InsecureServerCredentials(), &port_);
    builder.RegisterService(this);
    server_ = builder.BuildAndStart();
  }

  std::string address() const { return fmt::format("127.0.0.1:{}", port_); }

  grpc::ServerUnaryReactor* Advance(grpc::CallbackServerContext* context, const grpc::ByteBuffer* request,
                                    grpc::ByteBuffer* reply) override {
    work(*request);
    *reply = replies_[next_++ % replies_.size()];
    grpc::ServerUnaryReactor* reactor = context->DefaultReactor();
    reactor->Finish({});
    return reactor;
  }

 private:
  /// Is busy as long as the request's timestamp says, in microseconds.
  static void work(const grpc::ByteBuffer& bytes) {
    const auto start = std::chrono::steady_clock::now();
    v1::AdvanceRequest request;
    remote::unpack(bytes, request);
    while (std::chrono::steady_clock::now() < start + std::chrono::microseconds(request.timestamp())) {
    }
  }

  std::vector<grpc::ByteBuffer> replies_;
  std::atomic<std::size_t> next_ = 0;
  int port_ = 0;
  std::unique_ptr<grpc::Server> server_;
};

/// A simulation that takes no time: it hands out the same records again and again.
class PreparedServer : public testing::ScriptedServer {
 public:
  explicit PreparedServer(const std::map<std::string, Records>& all) : all_(all) {}

  Value load_scenario(const Value& name) override {
    records_.clear();
    for (const std::string& text : all_.at(std::string(name.as_text()))) records_.push_back(read_json(text));
    next_ = 0;
    return true;
  }
  void run_simulate() override {}
  Value get_step_situation() override { return records_[next_++ % records_.size()]; }

 private:
  const std::map<std::string, Records>& all_;
  std::vector<Value> records_;  // of the room's thread
  std::size_t next_ = 0;
};

[[noreturn]] void become_server(const std::string& program, int units, int socket, pid_t parent) {
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (::getppid() != parent) ::_exit(1);
  ::dup2(socket, STDIN_FILENO);
  ::dup2(socket, STDOUT_FILENO);
  ::execl(program.c_str(), program.c_str(), "--serve", "--units", std::to_string(units).c_str(), nullptr);
  ::_exit(1);
}

std::string read_line(int socket) {
  std::string line;
  for (char c = 0; ::read(socket, &c, 1) == 1 && c != '\n';) line += c;
  return line;
}

Records strait_records() {
  const auto server = GameServer::create(Dict{{"server", Dict{{"url", "embedded:"}}}, {"simulate", Dict()}});
  server->connect_server();
  server->reset(0);
  server->load_scenario("strait");
  server->get_init_situation();
  Records records;
  for (int step = 0; step < 100; ++step) {
    server->run_simulate();
    records.push_back(write_json(server->get_step_situation()));
  }
  return records;
}

}  // namespace

std::map<std::string, Records> all_records(int units) {
  Situations generated = make_situations({.units = units, .updates = 10});
  return {{"strait", strait_records()},
          {"updates", std::move(generated.updates)},
          {"initial", {std::move(generated.initial)}}};
}

std::unique_ptr<remote::ServiceHost> start_host(remote::MakeBackend make_backend) {
  remote::RoomOptions options;
  options.make_backend = std::move(make_backend);
  auto host = std::make_unique<remote::ServiceHost>(remote::read_listen_address(kAnyPort, false),
                                                    remote::ServerAccess(), std::move(options));
  host->set_ready();
  return host;
}

ServerProcess::ServerProcess(const std::string& program, int units) {
  int ends[2];
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) throw Error("cannot make a socket");
  const pid_t parent = ::getpid();
  child_ = ::fork();
  if (child_ == 0) become_server(program, units, ends[1], parent);
  ::close(ends[1]);
  socket_ = ends[0];
  std::istringstream line(read_line(socket_));
  line >> servers_.prepared;
  for (std::string name, address; line >> name >> address;) servers_.echo[name] = address;
  if (servers_.echo.empty()) throw Error("the servers do not start");
}

ServerProcess::~ServerProcess() {
  ::close(socket_);
  ::waitpid(child_, nullptr, 0);
}

void serve(int units) {
  const std::map<std::string, Records> all = all_records(units);
  const auto prepared = start_host([&](const remote::RoomPlan&) { return std::make_shared<PreparedServer>(all); });
  std::string line = prepared->address().target;
  std::list<EchoServer> echo;
  for (const auto& [name, records] : all) line += ' ' + name + ' ' + echo.emplace_back(records).address();
  std::cout << line << std::endl;
  std::cin.get();
}

}  // namespace tessra::bench
