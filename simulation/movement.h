#pragma once

#include "simulation/world.h"

namespace tessra::sim {

/// Moves every living unit by one second: height, course, fuel. Aircraft whose fuel is gone are lost, others stop.
void move_units(World& world);

/// Puts a unit on its base, where it is refuelled and rearmed after its platform's turnaround.
void land(World& world, Unit& unit);

/// Takes a unit off its base, with full tanks and mounts.
void take_off(Unit& unit);

}  // namespace tessra::sim
