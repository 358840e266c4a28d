#pragma once

#include <string>
#include <string_view>

#include "Tessra/entitys/command_text.h"
#include "Tessra/entitys/element.h"

namespace tessra {

class GameUnit;

/// Base of the seven mission classes, with the orders an agent can give to a mission. An order queues one command on
/// the service client.
class Mission : public Element {
 public:
  void assign_unit(const GameUnit& unit);
  void unassign_unit(const GameUnit& unit);
  /// Deletes the mission on the service. The engine's registry removes it when the service reports the deletion, or
  /// at once if the agent calls `deduce_remove_mission`.
  void remove();

 protected:
  using Element::Element;

  /// The fields of every mission.
  static const FieldTable& mission_fields();
  CommandText command(std::string_view name) const;
};

}  // namespace tessra
