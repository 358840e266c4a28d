#pragma once

#include "Tessra/entitys/gameunit.h"

namespace tessra {

/// A facility on the ground: a site, an airfield, a radar.
class Facility : public GameUnit {
 public:
  Facility(Value guid, const Value& name, std::string_view side)
      : GameUnit(std::move(guid), name, side, tessra::ElementType::Facility) {}

  std::string_view class_name() const override { return "Facility"; }
  const FieldTable& known_fields() const override { return fields(); }
  static const FieldTable& fields();
};

}  // namespace tessra
