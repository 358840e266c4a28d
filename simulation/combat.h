#pragma once

#include "simulation/world.h"

namespace tessra::sim {

/// Lets every unit with an attack in reach fire, one weapon at a time.
void fire_weapons(World& world);

/// Distance in metres at which a weapon's own seeker finds its target; until then it goes by what its side knows.
constexpr double kSeekerReach = 15'000;

/// Moves the weapons in flight by one second; those that arrive hit or miss, those out of reach are spent.
void fly_shots(World& world);

}  // namespace tessra::sim
