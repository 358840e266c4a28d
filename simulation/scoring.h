#pragma once

#include "simulation/world.h"

namespace tessra::sim {

/// Takes a lost unit's value from its side's score and adds it to the score of every side hostile toward that side.
void book_loss(World& world, const Unit& unit);

/// Ends the episode when its time is over or when a side that had armed units has lost them all.
void check_end(World& world);

}  // namespace tessra::sim
