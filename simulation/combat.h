#pragma once

#include "simulation/world.h"

namespace tessra::sim {

/// Fires at most one weapon of every unit that has an attack in range and is reloaded.
void fire_weapons(World& world);

/// Distance in metres at which a weapon's seeker finds the target; before that it flies to where its side believes the
/// target to be.
constexpr double kSeekerReach = 15'000;

/// Moves the weapons in flight by one second. Those that arrive hit or miss; those beyond their range are spent.
void fly_shots(World& world);

}  // namespace tessra::sim
