#pragma once

#include "Tessra/entitys/mission.h"

namespace tessra {

/// Lays mines in a zone.
class MineMission : public Mission {
 public:
  MineMission(Value guid, const Value& name, std::string_view side)
      : Mission(std::move(guid), name, side, tessra::ElementType::MineMission) {}

  std::string_view class_name() const override { return "MineMission"; }
  const FieldTable& known_fields() const override { return fields(); }
  static const FieldTable& fields();
};

}  // namespace tessra
