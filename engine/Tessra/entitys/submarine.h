#pragma once

#include "Tessra/entitys/gameunit.h"

namespace tessra {

/// A submarine.
class Submarine : public GameUnit {
 public:
  Submarine(Value guid, const Value& name, std::string_view side)
      : GameUnit(std::move(guid), name, side, tessra::ElementType::Submarine) {}

  std::string_view class_name() const override { return "Submarine"; }
  const FieldTable& known_fields() const override { return fields(); }
  static const FieldTable& fields();

  /// In metres below the surface, positive downward.
  void set_depth(double metres);
};

}  // namespace tessra
