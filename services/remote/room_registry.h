#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "services/remote/room.h"
#include "tessra/v1/simulation.pb.h"

namespace tessra::remote {

/// The rooms of a server, found by their id and opened up to a limit. Safe from any thread; throws `CallError` for what
/// the client did wrong.
class RoomRegistry {
 public:
  explicit RoomRegistry(RoomOptions options) : options_(std::move(options)) {}

  /// Opens a room, or finds the one that this request has opened before. `opened` is finished when it can be used.
  void open(const v1::OpenRoomRequest& request,
            std::function<void(const grpc::Status& status, const Room::Terms& terms)> opened);
  /// The room with this id, which the token must belong to.
  std::shared_ptr<Room> find(const std::string& id, const std::string& token);
  std::vector<std::string> rooms_of(const std::string& client_id);
  /// Ends a room, unless it is gone already. `finish` is called when its running call has ended.
  void close(const std::string& id, const std::string& token, std::function<void()> finish);

  /// The side whose agents may open a room; empty: rooms are for whole scenarios.
  const std::string& agent_side() const { return options_.agent_side; }

  /// Ends all rooms, letting running calls finish; false if one takes longer than `until`. Opens none afterwards.
  bool end(std::chrono::steady_clock::time_point until);

 private:
  std::shared_ptr<Room> owned(const std::string& id, const std::string& token);
  void forget_ended();
  Room::Terms terms_of(const v1::OpenRoomRequest& request) const;

  const RoomOptions options_;
  std::mutex mutex_;  // guards the members below
  std::map<std::string, std::shared_ptr<Room>> rooms_;
  std::atomic<bool> ending_ = false;
};

}  // namespace tessra::remote
