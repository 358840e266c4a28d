#pragma once

#include "Tessra/entitys/mission.h"

namespace tessra {

/// Moves units to another base.
class FerryMission : public Mission {
 public:
  FerryMission(Value guid, const Value& name, std::string_view side)
      : Mission(std::move(guid), name, side, tessra::ElementType::FerryMission) {}

  std::string_view class_name() const override { return "FerryMission"; }
  const FieldTable& known_fields() const override { return fields(); }
  static const FieldTable& fields();
};

}  // namespace tessra
