#pragma once

#include "Tessra/entitys/mission.h"

namespace tessra {

/// Patrols a zone.
class PatrolMission : public Mission {
 public:
  PatrolMission(Value guid, const Value& name, std::string_view side)
      : Mission(std::move(guid), name, side, tessra::ElementType::PatrolMission) {}

  std::string_view class_name() const override { return "PatrolMission"; }
  const FieldTable& known_fields() const override { return fields(); }
  static const FieldTable& fields();

  /// Orders a new patrol of this zone, a polygon with at least three corners. The mission becomes an element when the
  /// service reports it.
  static void order_new(GameServer& server, std::string_view side, std::string_view name,
                        std::span<const GeoPoint> zone);
};

}  // namespace tessra
