// Checks of a service in another process: our own server passes, and each of many faulty ones is told what is wrong.

#include <fstream>
#include <map>
#include <regex>

#include "services/forwarding_server.h"
#include "services/remote/remote_backends.h"
#include "services/remote/wire_checks.h"
#include "services/service_checks.h"
#include "support/remote_fixture.h"
#include "support/spoiling_service.h"

namespace tessra::testing {
namespace {

using google::protobuf::Message;
using grpc::StatusCode;
using std::chrono::milliseconds;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using Fault = SpoilingService::Fault;
using Texts = std::vector<std::string>;

Texts texts(const ServiceReport& report) {
  Texts texts;
  for (const ServiceFinding& finding : report.findings()) texts.push_back(finding.text());
  return texts;
}

class RemoteChecks : public Remote {
 protected:
  RemoteChecks() { remote::register_remote_backends(); }

  /// Serves a backend that stands in front of the bundled simulation.
  template <class Backend = ForwardingServer>
  void serve(const std::string& token = "") {
    remote::RoomOptions options = scenarios("check");
    options.make_backend = [make = options.make_backend](const remote::RoomPlan& plan) {
      return std::make_shared<Backend>(make(plan));
    };
    remote::ServerAccess access;
    access.token = token;
    Remote::serve(options, access);
  }

  std::string path(const std::string& name) const { return (folder_.path() / name).string(); }

  Dict section(const std::string& socket_path, const std::string& token = "") const {
    Dict server{{"url", "grpc+unix:" + socket_path}};
    if (!token.empty()) {
      std::ofstream(path("token")) << token;
      server.set("token_file", path("token"));
    }
    return {{"server", server}, {"simulate", Dict()}};
  }

  static ServiceReport check_calls(const Dict& section, std::optional<milliseconds> lease_grace = std::nullopt) {
    ServiceReport report;
    remote::check_wire(section, {.scenario = "", .lease_grace = lease_grace}, report);
    return report;
  }
  static ServiceReport check_episodes(const Dict& section) {
    ServiceReport report;
    check_service([&] { return GameServer::create(section); }, "", report);
    return report;
  }

  /// What stands between the checks and the service.
  std::unique_ptr<SpoilingService> spoil(const Fault& fault, const remote::ClientAccess& access = {}) const {
    return std::make_unique<SpoilingService>(path("faulty"), host_->address(), access, fault);
  }
};

TEST_F(RemoteChecks, find_nothing_in_our_own_server) {
  serve("secret");
  const Dict server = section(socket(), "secret");
  for (const ServiceReport& report : {check_calls(server, milliseconds(2'000)), check_episodes(server)}) {
    EXPECT_THAT(report.findings(), IsEmpty());
    EXPECT_THAT(report.notes(), IsEmpty());
  }
}

/// A fault that changes requests of one kind.
template <class Kind>
Fault on_request(std::function<void(Kind& request)> change) {
  return {[change](Message& request) -> std::optional<grpc::Status> {
            if (auto* found = as<Kind>(request)) change(*found);
            return std::nullopt;
          },
          nullptr};
}

/// A fault that changes replies of one kind.
template <class Kind>
Fault on_reply(std::function<void(Kind& reply)> change) {
  return {nullptr, [change](Message& reply, grpc::Status&) {
            if (auto* found = as<Kind>(reply)) change(*found);
          }};
}

/// Several faults that do not get in each other's way.
Fault all(const std::vector<Fault>& faults) {
  return {[=](Message& request) {
            std::optional<grpc::Status> instead;
            for (const Fault& fault : faults) {
              if (fault.request && !instead) instead = fault.request(request);
            }
            return instead;
          },
          [=](Message& reply, grpc::Status& status) {
            for (const Fault& fault : faults) {
              if (fault.reply) fault.reply(reply, status);
            }
          }};
}

/// A fault that answers some requests by itself.
template <class Is>
Fault answers(const grpc::Status& status, Is is) {
  return {[=](Message& request) { return is(request) ? std::optional(status) : std::nullopt; }, nullptr};
}

/// A fault that changes the text of records.
Fault on_records(const std::string& pattern, const std::string& replacement) {
  return {nullptr, [=](Message& reply, grpc::Status&) {
            v1::Json* record = record_of(reply);
            if (record == nullptr) return;
            record->set_text(std::regex_replace(record->text(), std::regex(pattern), replacement));
          }};
}

/// Numbers the calls of a room itself: a call that comes twice runs twice.
Fault forgets_numbers() {
  const auto made = std::make_shared<std::map<std::string, std::uint64_t>>();
  const auto room = std::make_shared<std::string>();
  return {[=](Message& request) -> std::optional<grpc::Status> {
            v1::RoomCall* call = call_of(request);
            *room = call != nullptr ? call->room() : "";
            if (call != nullptr) call->set_number((*made)[*room] + 1);
            return std::nullopt;
          },
          [=](Message&, grpc::Status& status) {
            if (status.ok()) ++(*made)[*room];
          }};
}

/// Gives every caller the token that he should have.
Fault ignores_tokens() {
  const auto tokens = std::make_shared<std::map<std::string, std::string>>();
  return {[=](Message& request) -> std::optional<grpc::Status> {
            if (v1::RoomCall* call = call_of(request)) call->set_token((*tokens)[call->room()]);
            if (auto* close = as<v1::CloseRoomRequest>(request)) close->set_token((*tokens)[close->room()]);
            return std::nullopt;
          },
          on_reply<v1::OpenRoomReply>([=](auto& opened) { (*tokens)[opened.room()] = opened.token(); }).reply};
}

TEST_F(RemoteChecks, say_what_is_wrong_with_a_service) {
  serve();
  const auto has_unknown = [](const Message& request) {
    return !request.GetReflection()->GetUnknownFields(request).empty();
  };
  const auto closes = [](Message& request) { return as<v1::CloseRoomRequest>(request) != nullptr; };
  const auto to_unknown = [](Message&, grpc::Status& status) {
    if (!status.ok()) status = {StatusCode::UNKNOWN, status.error_message()};
  };
  const struct {
    Fault fault;
    Texts says;
  } cases[] = {
      {forgets_numbers(),
       {"`Advance, sent again`: wanted the reply of the first time",
        "`Advance, after one that was sent twice`: wanted a step of 30000 ms, came 60000 ms",
        "`Advance, with a number left out`: wanted OUT_OF_RANGE, came OK"}},
      {ignores_tokens(),
       {"`ListScenarios, with the token of another room`: wanted PERMISSION_DENIED, came OK",
        "`CloseRoom, with another token than the room's`: wanted PERMISSION_DENIED, came OK"}},
      {answers({StatusCode::INVALID_ARGUMENT, "what is this?"}, has_unknown),
       {"`Hello, with an unknown field`: wanted OK, came INVALID_ARGUMENT 'what is this?'"}},
      {answers({}, closes),
       {"`ResumeRoom, for a room that was closed`: wanted NOT_FOUND, came OK",
        "`ListRooms, after CloseRoom`: wanted a list without the room"}},
      {{nullptr, to_unknown},
       {"`Advance, in a new room`: wanted FAILED_PRECONDITION, came UNKNOWN 'no scenario is loaded'"}},
      {all({
           on_request<v1::HelloRequest>([](auto& request) {
             request.set_oldest_version(1);
             request.set_newest_version(1);
           }),
           on_reply<v1::HelloReply>([](auto& reply) { reply.clear_largest_message(); }),
           on_request<v1::OpenRoomRequest>(
               [attempt = 0](auto& request) mutable { request.set_request_id(std::to_string(++attempt)); }),
           on_request<v1::ListRoomsRequest>([](auto& request) { request.set_client_id("somebody"); }),
           on_reply<v1::ResumeRoomReply>([](auto& reply) { reply.set_next_number(reply.next_number() + 1); }),
           on_reply<v1::LoadScenarioReply>([](auto& reply) { reply.set_loaded(true); }),
           on_records(R"("TotalScore":0\.0)", R"("TotalScore":NaN)"),
       }),
       {"`Hello, versions 700 to 701`: wanted FAILED_PRECONDITION, came OK", "`Hello`: wanted `largest_message`",
        "`OpenRoom, sent again`: wanted the same room", "`ListRooms`: wanted the room that is open",
        "`ResumeRoom, in a new room`: wanted `next_number` 1, came 2",
        "`LoadScenario, a name that is no scenario's`: wanted `loaded` false, came true",
        "`GetSituation`: wanted a record that is JSON as the contract has it"}},
      {on_records(R"("TotalScore":)", R"("TotalScore":1,"TotalScore":)"), {"as the contract has it, came duplicate"}},
  };
  for (const auto& given : cases) {
    const auto faulty = spoil(given.fault);
    const Texts found = texts(check_calls(section(path("faulty"))));
    for (const std::string& says : given.says) EXPECT_THAT(found, Contains(HasSubstr(says)));
  }
}

TEST_F(RemoteChecks, see_numbers_of_the_wrong_kind) {
  serve();
  const auto faulty =
      spoil(all({on_records(R"("Time":(\d+))", R"("Time":$1.0)"), on_records(R"("Lon":(\d+)\.\d+)", R"("Lon":$1)")}));
  const Texts found = texts(check_episodes(section(path("faulty"))));
  EXPECT_THAT(found, Contains(HasSubstr("`ScenarioInfo` / `Time`, an integer, came real")));
  EXPECT_THAT(found, Contains(HasSubstr("`get_init_situation()`: wanted `Lon`, a real, came integer")));
}

TEST_F(RemoteChecks, see_a_room_outlive_its_lease) {
  serve();
  const auto faulty = spoil(all({on_request<v1::OpenRoomRequest>([](auto& request) { request.set_lease_seconds(100); }),
                                 on_reply<v1::OpenRoomReply>([](auto& reply) { reply.set_lease_seconds(1); })}));
  EXPECT_THAT(texts(check_calls(section(path("faulty")), milliseconds(0))),
              Contains(HasSubstr("a list without the room when its lease has ended, came the room")));
}

TEST_F(RemoteChecks, see_a_service_open_to_those_without_its_token) {
  serve("secret");
  remote::ClientAccess access;
  access.token = "secret";
  const auto faulty = spoil({}, access);
  const Texts findings = texts(check_calls(section(path("faulty"), "secret")));
  EXPECT_THAT(findings, Contains("`OpenRoom, without the bearer token`: wanted UNAUTHENTICATED, came OK"));
  EXPECT_THAT(findings, Contains("`ListRooms, with another bearer token`: wanted UNAUTHENTICATED, came OK"));
}

class Endless : public ForwardingServer {
 public:
  using ForwardingServer::ForwardingServer;
  void simulate_end() override {}
};

class Touchy : public ForwardingServer {
 public:
  using ForwardingServer::ForwardingServer;
  Value do_package_command() override { throw Error("what an order!"); }
};

TEST_F(RemoteChecks, see_what_the_simulation_behind_a_service_does_wrong) {
  serve<Endless>();
  EXPECT_THAT(texts(check_calls(section(socket()))),
              Contains("`Advance, after EndEpisode`: wanted a record whose `IsEnd` is true, came False"));
  serve<Touchy>();
  EXPECT_THAT(texts(check_calls(section(socket()))),
              Contains("`Execute, with orders that mean nothing`: wanted OK, came ABORTED 'what an order!'"));
}

TEST_F(RemoteChecks, only_note_that_no_episode_can_be_played_again) {
  serve();
  const auto scores_differ = [episode = 0](Message& reply, grpc::Status& status) mutable {
    if (as<v1::LoadScenarioReply>(reply) != nullptr) ++episode;
    on_records("\"TotalScore\":0", "\"TotalScore\":" + std::to_string(episode)).reply(reply, status);
  };
  const auto faulty = spoil({nullptr, scores_differ});
  const ServiceReport report = check_calls(section(path("faulty")));
  EXPECT_THAT(report.findings(), IsEmpty());
  EXPECT_THAT(report.notes(), Contains(HasSubstr("not deterministic")));
}

}  // namespace
}  // namespace tessra::testing
