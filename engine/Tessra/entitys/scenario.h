#pragma once

#include "Tessra/entitys/element.h"

namespace tessra {

/// The scenario of the running episode: its clock, events and units that are not active yet.
class Scenario : public Element {
 public:
  Scenario(Value guid, const Value& name, std::string_view side)
      : Element(std::move(guid), name, side, tessra::ElementType::Scenario) {}

  std::string_view class_name() const override { return "Scenario"; }
  const FieldTable& known_fields() const override { return fields(); }
  static const FieldTable& fields();
};

}  // namespace tessra
