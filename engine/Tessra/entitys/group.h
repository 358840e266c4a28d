#pragma once

#include "Tessra/entitys/gameunit.h"

namespace tessra {

/// A group of units that move together.
class Group : public GameUnit {
 public:
  Group(Value guid, const Value& name, std::string_view side)
      : GameUnit(std::move(guid), name, side, tessra::ElementType::Group) {}

  std::string_view class_name() const override { return "Group"; }
  const FieldTable& known_fields() const override { return fields(); }
  static const FieldTable& fields();
};

}  // namespace tessra
