#pragma once

#include <filesystem>
#include <memory>
#include <string_view>

#include "Tessra/entitys/gameenvs/gameserver.h"

namespace tessra {

namespace sim {
class Simulation;
}

/// The backend "embedded:", the bundled simulation in this process. `address` is a folder of scenario files; empty
/// means the shipped ones. Reads `server.seed` (default 1) and `simulate.decision_interval` (simulated seconds per
/// advance, default 30). Each episode's seed is hashed from the base seed and the episode's number, counted from
/// `server.first_episode` (default 1). In AI-apply mode it is wrapped in a `SchedulingClient`.
std::shared_ptr<GameServer> make_embedded_server(const Dict& section, std::string_view address);

/// Validates a scenario file, for hosts that want to report errors before they play. Throws `Error` naming the file and
/// the place in it.
void check_scenario(const std::filesystem::path& file);

/// The simulation of an embedded client, even one wrapped in others, to compare the model with the true state. Null if
/// there is none or no scenario is loaded.
const sim::Simulation* simulation_of(GameServer& client);

}  // namespace tessra
