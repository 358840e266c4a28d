#include <fmt/format.h>

#include "services/remote/wire_check_groups.h"

namespace tessra::remote {

namespace {

using grpc::StatusCode;

v1::HelloRequest hello(std::uint32_t oldest, std::uint32_t newest) {
  v1::HelloRequest request;
  request.set_oldest_version(oldest);
  request.set_newest_version(newest);
  request.set_client("check of a service");
  return request;
}

}  // namespace

void check_handshake(WireCalls& calls) {
  const auto reply = calls.make<v1::HelloReply>(hello(1, 1));
  calls.want(reply.version() == 1, "Hello, versions 1 to 1", "`version` 1", std::to_string(reply.version()));
  calls.want(!reply.instance().empty(), "Hello", "`instance`", "an empty text");
  calls.want(reply.largest_message() > 0, "Hello", "`largest_message`, in bytes", "0");
  const auto again = calls.make<v1::HelloReply>(hello(1, 1));
  calls.want(again.instance() == reply.instance(), "Hello, twice", "the same `instance`",
             fmt::format("'{}', then '{}'", reply.instance(), again.instance()));

  const auto newer = calls.make<v1::HelloReply>(hello(1, 700), "versions 1 to 700");
  calls.want(newer.version() >= 1 && newer.version() <= 700, "Hello, versions 1 to 700", "a `version` among them",
             std::to_string(newer.version()));
  v1::HelloRequest unknown = hello(1, 1);
  add_unknown_field(unknown);
  calls.make<v1::HelloReply>(unknown, "with an unknown field");

  const std::string text = calls.refuse(StatusCode::FAILED_PRECONDITION, hello(700, 701), "versions 700 to 701");
  if (text.empty()) return;
  calls.want(text.find("700") != std::string::npos && text.find("701") != std::string::npos,
             "Hello, versions 700 to 701", "a text that names both ranges", "'" + text + "'");
}

void check_bearer_token(const Address& address, ClientAccess access, ServiceReport& report) {
  for (const std::string& token : {std::string(), access.token + "x"}) {
    access.token = token;
    Transport transport(address, access);
    WireCalls calls(transport, report);
    const std::string how = token.empty() ? "without the bearer token" : "with another bearer token";
    v1::OpenRoomRequest request = room_request();
    request.set_lease_seconds(1);  // should it be opened
    calls.refuse(StatusCode::UNAUTHENTICATED, request, how);
    calls.refuse(StatusCode::UNAUTHENTICATED, v1::ListRoomsRequest(), how);
  }
}

}  // namespace tessra::remote
