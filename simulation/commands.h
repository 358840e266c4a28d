#pragma once

#include <string>
#include <vector>

#include "simulation/simulation.h"
#include "simulation/world.h"

namespace tessra::sim {

/// Runs a package of commands and returns those without effect; see `Simulation::execute`.
std::vector<CommandFault> run_package(World& world, const std::vector<std::string>& texts);

}  // namespace tessra::sim
