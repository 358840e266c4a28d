#pragma once

#include "simulation/world.h"

namespace tessra::sim {

/// A successful look.
struct Look {
  const Unit& unit;
  std::size_t sensor;  ///< index among the platform's sensors
  std::size_t target;  ///< index of the detected unit
  Way way;             ///< from the unit to the target
  double reach;        ///< greatest distance at which the sensor could detect the target, metres
};

/// Seconds after which a moving contact is too old to be fired at, and the next look starts a new measurement.
constexpr int kFreshContact = 60;

/// Whether the contact is on a facility, which cannot move.
bool is_fixed(const World& world, const Contact& contact);

/// Whether the contact's position is recent enough to fire at.
bool is_fresh(const World& world, const Contact& contact);

/// Whether it can be fired at: its position is fresh, and accurate enough for a seeker to find the target there.
bool is_targetable(const World& world, const Contact& contact);

/// Creates or refreshes the side's contact from a look: position, height and velocity as measured, and possibly a
/// higher identification. Measurements of a contact in view are combined, so that its position improves with time.
void renew_contact(World& world, const Look& look);

}  // namespace tessra::sim
