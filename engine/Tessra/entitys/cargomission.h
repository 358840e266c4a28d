#pragma once

#include "Tessra/entitys/mission.h"

namespace tessra {

/// Transports and unloads cargo.
class CargoMission : public Mission {
 public:
  CargoMission(Value guid, const Value& name, std::string_view side)
      : Mission(std::move(guid), name, side, tessra::ElementType::CargoMission) {}

  std::string_view class_name() const override { return "CargoMission"; }
  const FieldTable& known_fields() const override { return fields(); }
  static const FieldTable& fields();
};

}  // namespace tessra
