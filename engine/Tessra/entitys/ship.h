#pragma once

#include "Tessra/entitys/gameunit.h"

namespace tessra {

/// A surface ship.
class Ship : public GameUnit {
 public:
  Ship(Value guid, const Value& name, std::string_view side)
      : GameUnit(std::move(guid), name, side, tessra::ElementType::Ship) {}

  std::string_view class_name() const override { return "Ship"; }
  const FieldTable& known_fields() const override { return fields(); }
  static const FieldTable& fields();
};

}  // namespace tessra
