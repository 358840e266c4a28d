#pragma once

#include "Tessra/entitys/mission.h"

namespace tessra {

/// Clears mines from a zone.
class MineClearMission : public Mission {
 public:
  MineClearMission(Value guid, const Value& name, std::string_view side)
      : Mission(std::move(guid), name, side, tessra::ElementType::MineClearMission) {}

  std::string_view class_name() const override { return "MineClearMission"; }
  const FieldTable& known_fields() const override { return fields(); }
  static const FieldTable& fields();
};

}  // namespace tessra
