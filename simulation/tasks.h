#pragma once

#include "simulation/world.h"

namespace tessra::sim {

/// Seconds between two decisions of one unit.
constexpr int kDecisionSeconds = 5;

/// Lets the units whose turn it is decide what to do next: take off, return, attack, follow the mission.
void decide_tasks(World& world);

/// What a unit is doing, as shown in its record.
std::string_view status_of(const Unit& unit);

}  // namespace tessra::sim
