#pragma once

#include <string>

#include "simulation/world.h"

namespace tessra::sim {

/// Reads one command text and carries it out. Throws `CommandError`, and then nothing has changed.
void run_command(World& world, const std::string& text);

}  // namespace tessra::sim
