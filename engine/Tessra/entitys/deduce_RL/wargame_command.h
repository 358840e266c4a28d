#pragma once

#include <string>

#include "Tessra/base/value.h"
#include "Tessra/entitys/gameenvs/gameserver.h"

namespace tessra {

/// Stamps a command for one unit with the engine's time.
struct WargameCommand {
  WargameCommand(std::string guid, double time, Value plan, Dict where)
      : unit_guid(std::move(guid)),
        time_elapsed(time),
        plan_time(std::move(plan)),
        check_id(GameServer::command_key),
        position(std::move(where)) {}

  std::string unit_guid;
  /// Simulated seconds of the episode when the record was made.
  double time_elapsed;
  /// Planning time in seconds, as configured.
  Value plan_time;
  std::string check_id;
  /// The unit's position record at the episode's start, shared with the engine; empty when it has none.
  Dict position;
};

}  // namespace tessra
