#pragma once

#include "Tessra/entitys/gameunit.h"

namespace tessra {

/// A satellite. It follows its orbit; its course cannot be ordered.
class Satellite : public GameUnit {
 public:
  Satellite(Value guid, const Value& name, std::string_view side)
      : GameUnit(std::move(guid), name, side, tessra::ElementType::Satellite) {}

  std::string_view class_name() const override { return "Satellite"; }
  const FieldTable& known_fields() const override { return fields(); }
  static const FieldTable& fields();
};

}  // namespace tessra
