#include "services/remote/wire_calls.h"

#include <fmt/format.h>

#include "services/remote/room_link.h"
#include "services/remote/secrets.h"

namespace tessra::remote {

namespace {

using google::protobuf::Message;

std::string method_of(const Message& request) {
  constexpr std::string_view kEnding = "Request";
  const std::string& name = request.GetDescriptor()->name();
  return name.substr(0, name.size() - kEnding.size());
}

std::string shown(const Message& request, const std::string& how) {
  return method_of(request) + (how.empty() ? "" : ", " + how);
}

std::string name_of(grpc::StatusCode code) {
  constexpr const char* kNames[] = {
      "OK",        "CANCELLED",      "UNKNOWN",           "INVALID_ARGUMENT",   "DEADLINE_EXCEEDED",
      "NOT_FOUND", "ALREADY_EXISTS", "PERMISSION_DENIED", "RESOURCE_EXHAUSTED", "FAILED_PRECONDITION",
      "ABORTED",   "OUT_OF_RANGE",   "UNIMPLEMENTED",     "INTERNAL",           "UNAVAILABLE",
      "DATA_LOSS", "UNAUTHENTICATED"};
  return code >= 0 && code < std::ssize(kNames) ? kNames[code] : std::to_string(code);
}

std::string shown(const grpc::Status& status) {
  return status.ok() ? "OK" : fmt::format("{} '{}'", name_of(status.error_code()), status.error_message());
}

}  // namespace

void WireCalls::make(const Message& request, Message& reply, const std::string& how) {
  const grpc::Status status = transport_.call(method_of(request), request, reply, Deadlines().start);
  report_.need(status.ok(), shown(request, how), "OK", shown(status));
}

grpc::Status WireCalls::send(const Message& request) {
  v1::CloseRoomReply nothing;  // takes any reply: all its fields are unknown
  return transport_.call(method_of(request), request, nothing, Deadlines().usual);
}

std::string WireCalls::refuse(grpc::StatusCode wanted, const Message& request, const std::string& how) {
  const grpc::Status status = send(request);
  if (status.error_code() == wanted) return status.error_message();
  report_.find(shown(request, how), name_of(wanted), shown(status));
  return "";
}

CheckedRoom::~CheckedRoom() { calls_.send(addressed<v1::CloseRoomRequest>()); }

v1::OpenRoomReply CheckedRoom::opened(WireCalls& calls) { return calls.make<v1::OpenRoomReply>(room_request()); }

void CheckedRoom::load(const std::string& scenario) {
  v1::LoadScenarioRequest request;
  request.set_name(scenario);
  request.set_seed(1);
  request.set_episode(1);
  const bool loaded = call<v1::LoadScenarioReply>(request).loaded();
  calls_.report().need(loaded, "LoadScenario, '" + scenario + "'", "`loaded` true", "false");
}

v1::OpenRoomRequest room_request() {
  v1::OpenRoomRequest request;
  request.set_request_id(random_id());
  request.set_client_id(random_id());
  return request;
}

void add_unknown_field(google::protobuf::Message& message) {
  constexpr int kField = 15'000;
  message.GetReflection()->MutableUnknownFields(&message)->AddVarint(kField, 1);
}

}  // namespace tessra::remote
