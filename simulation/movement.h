#pragma once

#include "simulation/world.h"

namespace tessra::sim {

/// Moves every living unit by one second: height, course, fuel. Aircraft without fuel are lost, others stop.
void move_units(World& world);

/// Lands a unit on its base, where it is refuelled and rearmed after its platform's turnaround.
void land(World& world, Unit& unit);

/// Launches a unit from its base, with a full tank.
void take_off(Unit& unit);

}  // namespace tessra::sim
