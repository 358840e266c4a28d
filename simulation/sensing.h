#pragma once

#include "simulation/world.h"

namespace tessra::sim {

/// Lets every sensor that is due look once, and drops contacts not seen for `kContactLost` seconds, except for those on
/// facilities.
void use_sensors(World& world);

constexpr int kContactLost = 300;

/// Greatest distance, in metres, at which a unit's sensor can detect a target now; 0 if it cannot.
double sensor_reach(const World& world, const Unit& unit, const SensorType& sensor, const Unit& target);

/// Whether any living unit of the side could detect the target now.
bool has_in_reach(const World& world, std::size_t side, const Unit& target);

}  // namespace tessra::sim
