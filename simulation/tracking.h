#pragma once

#include "simulation/world.h"

namespace tessra::sim {

/// A look that has found its target.
struct Look {
  const Unit& unit;
  std::size_t sensor;  ///< place among the platform's sensors
  std::size_t target;  ///< index of the unit found
  Way way;             ///< from the unit to the target
  double reach;        ///< at which the sensor could just see the target, metres
};

/// Seconds after which a contact that can move is too old to be fired at, and a look begins to measure it anew.
constexpr int kFreshContact = 60;

/// Whether a contact is on something that stands where it stands.
bool is_fixed(const World& world, const Contact& contact);

/// Whether a contact's place may still be used to fire at it.
bool is_fresh(const World& world, const Contact& contact);

/// Whether it is worth firing at: its place is fresh, and good enough for a weapon's seeker to find the target there.
bool is_targetable(const World& world, const Contact& contact);

/// Makes or renews the side's contact by a look: place, height and velocity as measured, and perhaps what it is. Looks
/// at a contact in view add up, so that its place becomes better with time.
void renew_contact(World& world, const Look& look);

}  // namespace tessra::sim
