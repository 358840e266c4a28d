#pragma once

#include "simulation/world.h"

namespace tessra::sim {

/// Share of a unit's value that damage costs before the unit is lost.
constexpr double kDamageShare = 0.5;

/// Takes points for damage just done to a unit from its side's score: `kDamageShare` of its value for as much damage as
/// destroys it. The side whose weapon did it gains them when it is hostile toward that side; nobody else does, since
/// nobody else need know. Repairs give nothing back.
void book_damage(World& world, const Unit& unit, double points, std::size_t by);

/// Does the same for what is left of a lost unit's value; `by` may be `kNobody`.
void book_loss(World& world, const Unit& unit, std::size_t by);

/// Ends the episode when its time is over or when a side that had armed units has lost them all.
void check_end(World& world);

}  // namespace tessra::sim
