#pragma once

#include <string>
#include <vector>

#include "simulation/simulation.h"
#include "simulation/world.h"

namespace tessra::sim {

/// Carries out a package of command texts, each as far as it is good; see `Simulation::execute`.
std::vector<CommandFault> run_package(World& world, const std::vector<std::string>& texts);

}  // namespace tessra::sim
