#pragma once

#include "simulation/world.h"

namespace tessra::sim {

/// Share of a unit's value that damage costs before the unit is lost.
constexpr double kDamageShare = 0.5;

/// Moves points for damage just done to a unit, from its side to every side hostile toward that side: `kDamageShare` of
/// its value for as much damage as destroys it. Repairs give nothing back.
void book_damage(World& world, const Unit& unit, double points);

/// Moves what is left of a lost unit's value in the same way.
void book_loss(World& world, const Unit& unit);

/// Ends the episode when its time is over or when a side that had armed units has lost them all.
void check_end(World& world);

}  // namespace tessra::sim
