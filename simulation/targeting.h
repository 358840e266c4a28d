#pragma once

#include "simulation/world.h"

namespace tessra::sim {

/// The nearest remaining target of a strike mission for which the unit has a weapon, or gets one at its base; null if
/// there is none.
const Contact* next_strike_target(const World& world, const Unit& unit, const Mission& mission);

/// Drops attacks whose contact is gone or for which the unit has no weapon left.
void drop_hopeless_attacks(const World& world, Unit& unit);

/// Gives a unit without attacks one of its own choice, as far as its weapon control allows: against a unit that fired
/// at it, a hostile contact in range (on patrol also somewhat beyond), or a target of its strike mission.
void choose_targets(const World& world, Unit& unit);

}  // namespace tessra::sim
