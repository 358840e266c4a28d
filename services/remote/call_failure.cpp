#include "services/remote/call_failure.h"

#include <fmt/format.h>

#include <string_view>

namespace tessra::remote {

using Reason = RemoteError::Reason;

bool is_link_failure(const grpc::Status& status) {
  switch (status.error_code()) {
    case grpc::StatusCode::UNAVAILABLE:
    case grpc::StatusCode::DATA_LOSS:
    case grpc::StatusCode::INTERNAL:
    case grpc::StatusCode::CANCELLED:
      return true;
    default:
      return false;
  }
}

namespace {

Reason reason_of(const std::string& method, const grpc::Status& status) {
  const bool is_handshake = method == "Hello";
  switch (status.error_code()) {
    case grpc::StatusCode::DEADLINE_EXCEEDED:
      return is_handshake ? Reason::unreachable : Reason::timed_out;  // it only waits for the port
    case grpc::StatusCode::FAILED_PRECONDITION:
      return is_handshake ? Reason::refused_version : Reason::refused;
    case grpc::StatusCode::UNAUTHENTICATED:
    case grpc::StatusCode::PERMISSION_DENIED:
      return Reason::refused_token;
    case grpc::StatusCode::NOT_FOUND:
      return Reason::room_lost;
    case grpc::StatusCode::INVALID_ARGUMENT:
    case grpc::StatusCode::OUT_OF_RANGE:
      return Reason::bad_request;
    case grpc::StatusCode::RESOURCE_EXHAUSTED:
      return Reason::too_large;
    default:
      return is_link_failure(status) ? Reason::unreachable : Reason::refused;
  }
}

std::string_view words(Reason reason) {
  switch (reason) {
    case Reason::unreachable:
      return "the service cannot be reached";
    case Reason::timed_out:
      return "the service did not answer in time";
    case Reason::refused_version:
      return "no common version";
    case Reason::refused_token:
      return "access refused";
    case Reason::room_lost:
      return "the room is lost, and its episode with it";
    case Reason::bad_request:
      return "bad request";
    case Reason::too_large:
      return "a limit is exceeded";
    case Reason::refused:
      break;
  }
  return "refused by the service";
}

}  // namespace

RemoteError call_failure(const std::string& url, const std::string& method, const grpc::Status& status) {
  const Reason reason = reason_of(method, status);
  return {reason, fmt::format("{}: {}: {}: {}", url, method, words(reason), status.error_message())};
}

}  // namespace tessra::remote
