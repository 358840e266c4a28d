#pragma once

#include "Tessra/entitys/gameunit.h"

namespace tessra {

/// A weapon in flight.
class Weapon : public GameUnit {
 public:
  Weapon(Value guid, const Value& name, std::string_view side)
      : GameUnit(std::move(guid), name, side, tessra::ElementType::Weapon) {}

  std::string_view class_name() const override { return "Weapon"; }
  const FieldTable& known_fields() const override { return fields(); }
  static const FieldTable& fields();
};

}  // namespace tessra
