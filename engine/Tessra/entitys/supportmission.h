#pragma once

#include "Tessra/entitys/mission.h"

namespace tessra {

/// Supports other units: tankers, early warning.
class SupportMission : public Mission {
 public:
  SupportMission(Value guid, const Value& name, std::string_view side)
      : Mission(std::move(guid), name, side, tessra::ElementType::SupportMission) {}

  std::string_view class_name() const override { return "SupportMission"; }
  const FieldTable& known_fields() const override { return fields(); }
  static const FieldTable& fields();
};

}  // namespace tessra
