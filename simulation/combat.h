#pragma once

#include "simulation/world.h"

namespace tessra::sim {

/// Seconds after which a contact that can move is too old to be fired at.
constexpr int kFreshContact = 60;

/// Whether a contact's place may still be used to fire at it.
bool is_fresh(const World& world, const Contact& contact);

/// Lets every unit with an attack in reach fire, one weapon at a time.
void fire_weapons(World& world);

/// Moves the weapons in flight by one second; those that arrive hit or miss, those out of reach are spent.
void fly_shots(World& world);

/// Damage that weapons of a side on their way will probably do to a unit.
double damage_on_the_way(const World& world, std::size_t side, std::size_t target);

}  // namespace tessra::sim
