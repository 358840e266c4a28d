#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "Tessra/entitys/gameenvs/gameserver.h"

namespace tessra::remote {

/// What a room's simulation is made of.
struct RoomPlan {
  std::int64_t seed = 1;
  std::uint64_t episode = 1;
  double step_interval = 0;  ///< seconds; 0: the backend's own
  std::string side;          ///< of an agent's room; empty: all sides
};

/// Makes the service client behind a room, on the room's thread.
using MakeBackend = std::function<std::shared_ptr<GameServer>(const RoomPlan& plan)>;

/// What a server lets clients do.
struct Limits {
  std::size_t rooms = 64;
  std::size_t commands = 10'000;                       ///< in a package
  std::size_t command_bytes = std::size_t{64} * 1024;  ///< of one command
  std::size_t text_bytes = std::size_t{16} * 1024;     ///< of an error report
  std::size_t id_bytes = 256;                          ///< of an agent's id or name
  std::size_t waiting_calls = 4;                       ///< per room
  std::size_t json_depth = 64;                         ///< of what a client sends
};

/// How a server opens rooms.
struct RoomOptions {
  MakeBackend make_backend;
  Limits limits;
  std::chrono::seconds lease{120};  ///< the usual one; the longest granted is ten times as long
  std::string agent_side;           ///< rooms are for agents of this side; empty: for whole scenarios
  /// Called on the room's thread when a room can be used, and when it has ended, with the reason.
  std::function<void()> on_open;
  std::function<void(const std::string& why)> on_end;
};

}  // namespace tessra::remote
