#pragma once

#include <string>
#include <string_view>

#include "Tessra/entitys/command_text.h"
#include "Tessra/entitys/element.h"

namespace tessra {

class GameUnit;

/// Base of the seven mission kinds, with the orders an agent gives to a mission. An order queues one command on the
/// service client.
class Mission : public Element {
 public:
  void assign_unit(const GameUnit& unit);
  void unassign_unit(const GameUnit& unit);
  /// Deletes the mission on the service. The engine's registry drops it when the service reports it deleted, or at
  /// once through the agent's `deduce_remove_mission`.
  void remove();

 protected:
  using Element::Element;

  /// The fields every mission knows.
  static const FieldTable& mission_fields();
  CommandText command(std::string_view name) const;
};

}  // namespace tessra
