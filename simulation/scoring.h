#pragma once

#include "simulation/world.h"

namespace tessra::sim {

/// Fraction of a unit's value that damage costs before the unit is lost.
constexpr double kDamageShare = 0.5;

/// Scores damage just done to a unit: its side loses up to `kDamageShare` of the unit's value, in proportion to the
/// damage. The side whose weapon did it gains as much if it is hostile toward that side. Repairs do not change scores.
void book_damage(World& world, const Unit& unit, double points, std::size_t by);

/// Scores the rest of a lost unit's value in the same way; `by` may be `kNobody`.
void book_loss(World& world, const Unit& unit, std::size_t by);

/// Ends the episode when its time is over or when a belligerent side that had armed units has lost them all.
void check_end(World& world);

}  // namespace tessra::sim
