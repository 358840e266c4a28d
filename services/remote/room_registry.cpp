#include "services/remote/room_registry.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "services/remote/secrets.h"

namespace tessra::remote {

using grpc::StatusCode;

Room::Terms RoomRegistry::terms_of(const v1::OpenRoomRequest& request) const {
  const auto wanted = std::chrono::seconds(request.lease_seconds());
  return {.id = random_id(),
          .token = random_id(),
          .client_id = request.client_id(),
          .request_id = request.request_id(),
          .lease = wanted.count() == 0 ? options_.lease : std::min(wanted, 10 * options_.lease),
          .most_waiting = options_.limits.waiting_calls};
}

void RoomRegistry::open(const v1::OpenRoomRequest& request,
                        std::function<void(const grpc::Status&, const Room::Terms&)> opened) {
  constexpr std::size_t kLongestId = 64;
  if (request.request_id().empty() || request.request_id().size() > kLongestId) {
    throw CallError(StatusCode::INVALID_ARGUMENT, "request_id: must have 1 to 64 bytes");
  }
  if (request.client_id().size() > kLongestId) {
    throw CallError(StatusCode::INVALID_ARGUMENT, "client_id: must have at most 64 bytes");
  }
  if (request.side() != options_.agent_side) {
    throw CallError(StatusCode::PERMISSION_DENIED,
                    options_.agent_side.empty()
                        ? "this service has no room for an agent of one side: that is what a scheduling client has"
                        : "this scheduling client has a room for an agent of one side alone, and not of this one");
  }
  if (!std::isfinite(request.step_interval_seconds()) || request.step_interval_seconds() < 0) {
    throw CallError(StatusCode::INVALID_ARGUMENT, "step_interval_seconds: must be a number of seconds, or 0");
  }
  const std::lock_guard lock(mutex_);
  forget_ended();
  if (ending_) throw CallError(StatusCode::UNAVAILABLE, "the server is ending");
  for (const auto& [id, room] : rooms_) {
    if (room->terms().request_id != request.request_id()) continue;
    room->resume([terms = room->terms(), opened](const grpc::Status& status, std::uint64_t) { opened(status, terms); },
                 [] { return false; });
    return;
  }
  // A closed room counts until its last call has ended: it still computes.
  if (rooms_.size() >= options_.limits.rooms) {
    throw CallError(StatusCode::RESOURCE_EXHAUSTED,
                    fmt::format("all {} rooms of this server are taken or still ending", options_.limits.rooms));
  }
  const Room::Terms terms = terms_of(request);
  const RoomPlan plan{.step_interval = request.step_interval_seconds(), .side = request.side()};
  auto make = [make_backend = options_.make_backend, plan, limits = options_.limits](const auto& stop) {
    return std::make_unique<RoomPlay>(make_backend, plan, limits, stop);
  };
  auto tell_opened = [terms, opened, on_open = options_.on_open](const grpc::Status& status) {
    if (status.ok() && on_open) on_open();
    opened(status, terms);
  };
  rooms_.emplace(terms.id, std::make_shared<Room>(terms, std::move(make), std::move(tell_opened), options_.on_end));
}

/// The room with this id, which the token must belong to; null if there is none.
std::shared_ptr<Room> RoomRegistry::owned(const std::string& id, const std::string& token) {
  const std::lock_guard lock(mutex_);
  const auto found = rooms_.find(id);
  if (found == rooms_.end()) return nullptr;
  if (!same_secret(token, found->second->terms().token)) {
    throw CallError(StatusCode::PERMISSION_DENIED, "the room has another token");
  }
  return found->second;
}

std::shared_ptr<Room> RoomRegistry::find(const std::string& id, const std::string& token) {
  std::shared_ptr<Room> room = owned(id, token);
  if (ending_) throw CallError(StatusCode::UNAVAILABLE, "the server is ending");
  if (room == nullptr || room->has_ended()) {
    throw CallError(StatusCode::NOT_FOUND, "there is no such room, or no longer");
  }
  return room;
}

std::vector<std::string> RoomRegistry::rooms_of(const std::string& client_id) {
  std::vector<std::string> ids;
  if (client_id.empty()) return ids;
  const std::lock_guard lock(mutex_);
  for (const auto& [id, room] : rooms_) {
    if (!room->has_ended() && same_secret(client_id, room->terms().client_id)) ids.push_back(id);
  }
  return ids;
}

void RoomRegistry::close(const std::string& id, const std::string& token, std::function<void()> finish) {
  const std::shared_ptr<Room> room = owned(id, token);
  if (room == nullptr) return finish();
  room->close(std::move(finish));
}

/// Removes ended rooms whose last call has ended too: joining their threads then takes no time.
void RoomRegistry::forget_ended() {
  std::erase_if(rooms_,
                [](const auto& entry) { return entry.second->wait_for_end(std::chrono::steady_clock::time_point()); });
}

bool RoomRegistry::end(std::chrono::steady_clock::time_point until) {
  std::map<std::string, std::shared_ptr<Room>> rooms;
  {
    const std::lock_guard lock(mutex_);
    ending_ = true;
    rooms = rooms_;
  }
  for (const auto& [id, room] : rooms) room->end({StatusCode::UNAVAILABLE, "the server is ending"});
  return std::all_of(rooms.begin(), rooms.end(), [&](const auto& entry) { return entry.second->wait_for_end(until); });
}

}  // namespace tessra::remote
