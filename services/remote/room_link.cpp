#include "services/remote/room_link.h"

#include <fmt/format.h>

#include <algorithm>
#include <thread>

#include "services/remote/call_failure.h"
#include "services/remote/protocol.h"
#include "services/remote/secrets.h"

namespace tessra::remote {

namespace {

using Clock = std::chrono::steady_clock;

/// How often one call is sent: a link that damages everything must not keep a client for ever.
constexpr int kMostAttempts = 8;
/// Between two attempts.
constexpr std::chrono::milliseconds kPause{50};
/// For one attempt to connect: some of those that begin before the server does never come about.
constexpr std::chrono::milliseconds kPatience{1'200};
/// No lease is longer, whatever a server says: a client waits as long for its link.
constexpr std::uint32_t kLongestLease = 86'400;  // seconds

}  // namespace

RoomLink::RoomLink(Transport& transport, const Deadlines& deadlines)
    : transport_(transport), deadlines_(deadlines), client_id_(random_id()) {}

void RoomLink::fail(const std::string& method, const grpc::Status& status) {
  throw call_failure(transport_.url(), method, status);
}

/// A call that does not wait is told why there is no connection. Then another connection is tried.
grpc::Status RoomLink::why_unconnected(const v1::HelloRequest& request, v1::HelloReply& reply) {
  grpc::Status status = transport_.call("Hello", request, reply, 2 * kPause);
  if (status.error_code() == grpc::StatusCode::DEADLINE_EXCEEDED) {
    status = {grpc::StatusCode::UNAVAILABLE, "no connection in time"};
  }
  if (!status.ok()) transport_.renew();
  return status;
}

void RoomLink::hello() {
  v1::HelloRequest request;
  request.set_oldest_version(kOldestVersion);
  request.set_newest_version(kNewestVersion);
  request.set_client("tessra " TESSRA_VERSION);
  v1::HelloReply reply;
  const auto end = Clock::now() + std::chrono::duration_cast<Clock::duration>(deadlines_.hello);
  grpc::Status status;
  do {  // until there is a server, and it is ready
    const auto limit = std::clamp<Clock::duration>(end - Clock::now(), kPause, kPatience);
    status = transport_.call("Hello", request, reply, limit, Transport::WhenDown::wait);
    if (status.error_code() == grpc::StatusCode::DEADLINE_EXCEEDED) status = why_unconnected(request, reply);
    if (status.error_code() != grpc::StatusCode::UNAVAILABLE) break;
    std::this_thread::sleep_for(kPause);
  } while (Clock::now() < end);
  if (!status.ok()) fail("Hello", status);
  if (reply.version() < kOldestVersion || reply.version() > kNewestVersion) {
    fail("Hello",
         {grpc::StatusCode::FAILED_PRECONDITION, fmt::format("the server speaks version {}, this client {} to {}",
                                                             reply.version(), kOldestVersion, kNewestVersion)});
  }
}

void RoomLink::open(v1::OpenRoomRequest request) {
  request.set_request_id(random_id());
  request.set_client_id(client_id_);
  v1::OpenRoomReply reply;
  grpc::Status status;
  for (int attempt = 0; attempt < kMostAttempts; ++attempt) {
    status = transport_.call("OpenRoom", request, reply, deadlines_.start);
    if (status.ok() || !is_link_failure(status)) break;
    std::this_thread::sleep_for(kPause);
  }
  if (!status.ok()) fail("OpenRoom", status);
  room_ = reply.room();
  token_ = reply.token();
  lease_ = std::chrono::seconds(std::clamp(reply.lease_seconds(), 1U, kLongestLease));
  next_number_ = 1;
  in_doubt_ = false;
}

void RoomLink::close() noexcept {
  if (room_.empty()) return;
  v1::CloseRoomRequest request;
  request.set_room(std::exchange(room_, ""));
  request.set_token(token_);
  v1::CloseRoomReply reply;
  static_cast<void>(transport_.call("CloseRoom", request, reply, std::chrono::seconds(2)));
}

void RoomLink::close_lost_rooms() {
  if (lost_rooms_.empty()) return;
  v1::ListRoomsRequest request;
  request.set_client_id(client_id_);
  v1::ListRoomsReply reply;
  const grpc::Status status = transport_.call("ListRooms", request, reply, deadlines_.usual);
  if (!status.ok()) fail("ListRooms", status);
  for (const std::string& room : reply.rooms()) {
    const auto lost = lost_rooms_.find(room);
    if (lost == lost_rooms_.end()) continue;
    v1::CloseRoomRequest close;
    close.set_room(room);
    close.set_token(lost->second);
    v1::CloseRoomReply closed;
    static_cast<void>(transport_.call("CloseRoom", close, closed, deadlines_.usual));
  }
  lost_rooms_.clear();
}

void RoomLink::call(const std::string& method, const google::protobuf::MessageLite& request, v1::RoomCall& call,
                    google::protobuf::MessageLite& reply, std::chrono::duration<double> limit) {
  if (!is_open()) fail(method, {grpc::StatusCode::NOT_FOUND, "no room is open"});
  call.set_room(room_);
  call.set_token(token_);
  const std::uint64_t number = number_for(method, request, call);
  call.set_number(number);
  for (int attempt = 1;; ++attempt) {
    const grpc::Status status = transport_.call(method, request, reply, limit);
    if (status.ok()) break;
    in_doubt_ = true;
    doubtful_number_ = number;
    doubtful_method_ = method;
    doubtful_request_ = request.SerializeAsString();
    if (status.error_code() == grpc::StatusCode::NOT_FOUND) room_.clear();
    if (!is_link_failure(status) || attempt == kMostAttempts) fail(method, status);
    resume();
  }
  next_number_ = number + 1;
  in_doubt_ = false;
}

/// The number of the next call. After a call that was given up it is asked for. If that call has run after all, the
/// same call gets its reply; an advance is not passed over by another call, since later records refer to what it
/// changed.
std::uint64_t RoomLink::number_for(const std::string& method, const google::protobuf::MessageLite& request,
                                   v1::RoomCall& call) {
  if (!in_doubt_) return next_number_;
  resume();
  if (next_number_ != doubtful_number_ + 1) return next_number_;
  call.set_number(doubtful_number_);
  if (method == doubtful_method_ && request.SerializeAsString() == doubtful_request_) return doubtful_number_;
  if (doubtful_method_ == "Advance" && method != "ResetRoom") {
    in_doubt_ = true;
    throw RemoteError(RemoteError::Reason::timed_out,
                      fmt::format("{}: {}: the record of the last advance did not arrive; ask for it again, or reset",
                                  transport_.url(), method));
  }
  return next_number_;
}

/// Waits for the link to come back, at most as long as the lease, and learns which number is next.
void RoomLink::resume() {
  v1::ResumeRoomRequest request;
  request.set_room(room_);
  request.set_token(token_);
  v1::ResumeRoomReply reply;
  bool told = false;
  const auto end = Clock::now() + lease_;
  grpc::Status status;
  while (Clock::now() < end) {
    const auto limit = std::min<Clock::duration>(end - Clock::now(), told ? 5 * kPatience : kPatience);
    status = transport_.call("ResumeRoom", request, reply, limit, Transport::WhenDown::wait);
    if (status.ok()) {
      if (told && on_link) on_link(transport_.url() + ": answers again");
      next_number_ = reply.next_number();
      in_doubt_ = false;
      return;
    }
    // A room that computes lets calls wait, and refuses them when too many do.
    const bool waits = is_link_failure(status) || status.error_code() == grpc::StatusCode::DEADLINE_EXCEEDED ||
                       status.error_code() == grpc::StatusCode::RESOURCE_EXHAUSTED;
    if (!waits) break;
    if (status.error_code() == grpc::StatusCode::DEADLINE_EXCEEDED) transport_.renew();
    status = {grpc::StatusCode::UNAVAILABLE, fmt::format("no answer within {} s, the room's lease", lease_.count())};
    if (!std::exchange(told, true) && on_link) {
      on_link(fmt::format("{}: no answer; trying again for {} s", transport_.url(), lease_.count()));
    }
    std::this_thread::sleep_for(kPause);
  }
  lost_rooms_.emplace(room_, token_);
  room_.clear();
  fail("ResumeRoom", status);
}

}  // namespace tessra::remote
