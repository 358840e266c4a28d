#pragma once

#include "Tessra/entitys/mission.h"

namespace tessra {

/// Strikes contacts of the enemy.
class StrikeMission : public Mission {
 public:
  /// Also creates the `escort` attribute, a dictionary with a `_game_server` of its own.
  StrikeMission(Value guid, const Value& name, std::string_view side);

  std::string_view class_name() const override { return "StrikeMission"; }
  const FieldTable& known_fields() const override { return fields(); }
  static const FieldTable& fields();

  /// The escort; throws `KindError` if a record replaced it by something else.
  Dict escort() const { return attributes().at_dict("escort"); }

  /// Orders a new strike against these contacts. The mission becomes an element when the service reports it.
  static void order_new(GameServer& server, std::string_view side, std::string_view name,
                        std::span<const std::string> contact_ids);
};

}  // namespace tessra
