#pragma once

#include "simulation/world.h"

namespace tessra::sim {

/// The nearest target of a strike mission that the side still knows and the unit has, or gets at its base, a weapon
/// for; null when none is left.
const Contact* next_strike_target(const World& world, const Unit& unit, const Mission& mission);

/// Drops the attacks whose contact is gone or for which the unit has no weapon left.
void drop_hopeless_attacks(const World& world, Unit& unit);

/// Adds one attack of the unit's own decision when it has none: as its weapon control allows, against hostile contacts
/// in reach (on patrol also somewhat beyond), against who fired at it, or against the targets of its strike mission.
void choose_targets(const World& world, Unit& unit);

}  // namespace tessra::sim
