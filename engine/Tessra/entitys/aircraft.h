#pragma once

#include "Tessra/entitys/gameunit.h"

namespace tessra {

/// An aircraft.
class Aircraft : public GameUnit {
 public:
  Aircraft(Value guid, const Value& name, std::string_view side)
      : GameUnit(std::move(guid), name, side, tessra::ElementType::Aircraft) {}

  std::string_view class_name() const override { return "Aircraft"; }
  const FieldTable& known_fields() const override { return fields(); }
  static const FieldTable& fields();

  /// Metres above the sea.
  void set_altitude(double metres);
};

}  // namespace tessra
