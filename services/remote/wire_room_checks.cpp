#include <fmt/format.h>

#include <algorithm>
#include <thread>

#include "services/remote/secrets.h"
#include "services/remote/wire_check_groups.h"

namespace tessra::remote {

namespace {

using grpc::StatusCode;
using Clock = std::chrono::steady_clock;

std::vector<std::string> rooms_of(WireCalls& calls, const std::string& client_id) {
  v1::ListRoomsRequest request;
  request.set_client_id(client_id);
  const auto reply = calls.make<v1::ListRoomsReply>(request);
  return {reply.rooms().begin(), reply.rooms().end()};
}

bool has_room(WireCalls& calls, const std::string& client_id, const std::string& room) {
  const std::vector<std::string> rooms = rooms_of(calls, client_id);
  return std::ranges::find(rooms, room) != rooms.end();
}

void check_terms(WireCalls& calls, const v1::OpenRoomReply& reply, std::uint32_t lease) {
  constexpr std::size_t kLongestToken = 64;
  calls.want(!reply.room().empty(), "OpenRoom", "`room`", "an empty text");
  calls.want(!reply.token().empty() && reply.token().size() <= kLongestToken, "OpenRoom", "a `token` of 1 to 64 bytes",
             fmt::format("{} bytes", reply.token().size()));
  calls.want(reply.lease_seconds() > 0 && reply.lease_seconds() <= lease, fmt::format("OpenRoom, lease of {} s", lease),
             "`lease_seconds`, as many or fewer", std::to_string(reply.lease_seconds()));
}

void check_token(WireCalls& calls, const CheckedRoom& room, const std::string& token, const std::string& how) {
  auto resume = room.addressed<v1::ResumeRoomRequest>();
  resume.set_token(token);
  calls.refuse(StatusCode::PERMISSION_DENIED, resume, how);
  auto list = room.numbered(v1::ListScenariosRequest(), room.number());
  list.mutable_call()->set_token(token);
  calls.refuse(StatusCode::PERMISSION_DENIED, list, how);
  auto close = room.addressed<v1::CloseRoomRequest>();
  close.set_token(token);
  calls.refuse(StatusCode::PERMISSION_DENIED, close, how);
}

/// A server may have no more than one room.
void check_second_room(WireCalls& calls, CheckedRoom& first) {
  v1::OpenRoomRequest request = room_request();
  const grpc::Status status = calls.send(request);
  if (status.error_code() == StatusCode::RESOURCE_EXHAUSTED) {
    calls.report().note("the service has one room at a time: that rooms are independent was not checked");
    return;
  }
  CheckedRoom second(calls, calls.make<v1::OpenRoomReply>(request));
  calls.want(second.terms().room() != first.terms().room(), "OpenRoom, with another `request_id`", "another room",
             "the same");
  calls.want(second.terms().token() != first.terms().token(), "OpenRoom, with another `request_id`", "another `token`",
             "the same");
  first.call<v1::ListScenariosReply>(v1::ListScenariosRequest());
  second.call<v1::ListScenariosReply>(v1::ListScenariosRequest(), "number 1 of a second room");
  check_token(calls, second, first.terms().token(), "with the token of another room");
  const bool foreign = has_room(calls, request.client_id(), first.terms().room());
  calls.want(!foreign, "ListRooms", "the rooms of this client", "a room of another one");
}

void check_unknown_room(WireCalls& calls, const CheckedRoom& room, const std::string& id, const std::string& how) {
  auto resume = room.addressed<v1::ResumeRoomRequest>();
  resume.set_room(id);
  calls.refuse(StatusCode::NOT_FOUND, resume, how);
  auto list = room.numbered(v1::ListScenariosRequest(), room.number());
  list.mutable_call()->set_room(id);
  calls.refuse(StatusCode::NOT_FOUND, list, how);
  auto close = room.addressed<v1::CloseRoomRequest>();
  close.set_room(id);
  calls.make<v1::CloseRoomReply>(close, how);
}

}  // namespace

void check_rooms(WireCalls& calls) {
  constexpr std::uint32_t kLease = 600;
  v1::OpenRoomRequest request = room_request();
  request.set_lease_seconds(kLease);
  add_unknown_field(request);
  CheckedRoom room(calls, calls.make<v1::OpenRoomReply>(request, "with an unknown field"));
  const std::string& id = room.terms().room();
  check_terms(calls, room.terms(), kLease);
  const auto again = calls.make<v1::OpenRoomReply>(request, "sent again");
  calls.want(again.room() == id && again.token() == room.terms().token(), "OpenRoom, sent again",
             "the same room and `token`", "others");
  calls.want(has_room(calls, request.client_id(), id), "ListRooms", "the room that is open", "a list without it");

  check_second_room(calls, room);
  check_token(calls, room, "another", "with another token than the room's");
  check_unknown_room(calls, room, random_id(), "for a room that never was");
  auto unknown = v1::ListScenariosRequest();
  add_unknown_field(unknown);
  room.call<v1::ListScenariosReply>(unknown, "with an unknown field");

  calls.make<v1::CloseRoomReply>(room.addressed<v1::CloseRoomRequest>());
  check_unknown_room(calls, room, id, "for a room that was closed");
  calls.want(!has_room(calls, request.client_id(), id), "ListRooms, after CloseRoom", "a list without the room",
             "the room");
}

void check_lease(WireCalls& calls, std::chrono::milliseconds grace) {
  constexpr std::uint32_t kLongest = 2;  // to wait for
  v1::OpenRoomRequest request = room_request();
  request.set_lease_seconds(1);
  const auto start = Clock::now();
  const CheckedRoom room(calls, calls.make<v1::OpenRoomReply>(request, "lease of 1 s"));
  const std::chrono::seconds lease(room.terms().lease_seconds());
  if (room.terms().lease_seconds() > kLongest) {
    calls.report().note(
        fmt::format("no lease is shorter than {} s: that a room ends with its lease was not checked", lease.count()));
    return;
  }
  // What is late may be late on the way: a room is seen too long only if it was asked for too late, and too short only
  // if the answer came too early.
  const std::string call = fmt::format("ListRooms, lease of {} s", lease.count());
  const auto opened = Clock::now();
  auto asked = opened;
  while (has_room(calls, request.client_id(), room.terms().room())) {
    const double late = std::chrono::duration<double>(asked - opened).count();
    calls.report().need(asked < opened + lease + grace, call, "a list without the room when its lease has ended",
                        fmt::format("the room after {:.2f} s", late));
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    asked = Clock::now();
  }
  const std::chrono::duration<double> taken = Clock::now() - start;
  calls.want(taken >= lease, call, "the room until its lease ends",
             fmt::format("a list without it after {:.2f} s", taken.count()));
  calls.refuse(StatusCode::NOT_FOUND, room.addressed<v1::ResumeRoomRequest>(), "for a room whose lease has ended");
}

}  // namespace tessra::remote
