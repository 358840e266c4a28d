#pragma once

#include "simulation/world.h"

namespace tessra::sim {

/// Lets every sensor that is due look once, and drops contacts nobody has seen for `kContactLost` seconds; what cannot
/// move is never forgotten.
void use_sensors(World& world);

constexpr int kContactLost = 300;

/// Farthest distance, in metres, at which a unit's sensor can see a target now; 0 when it cannot.
double sensor_reach(const World& world, const Unit& unit, const SensorType& sensor, const Unit& target);

/// Whether a living unit of the side could see the target now.
bool has_in_reach(const World& world, std::size_t side, const Unit& target);

}  // namespace tessra::sim
