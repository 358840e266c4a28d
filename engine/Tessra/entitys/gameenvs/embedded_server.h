#pragma once

#include <memory>
#include <string_view>

#include "Tessra/entitys/gameenvs/gameserver.h"

namespace tessra {

namespace sim {
class Simulation;
}

/// The backend "embedded:": the bundled simulation, in this process. `address` names a folder of scenario files;
/// empty means the shipped ones. Reads `server.seed` (default 1) and `simulate.decision_interval` (simulated seconds
/// of one advance, default 30). Each episode's seed is hashed from the base seed and the episode's number.
std::shared_ptr<GameServer> make_embedded_server(const Dict& section, std::string_view address);

/// The simulation behind an embedded client, to compare the model with the truth; null when the client is another one
/// or no scenario is loaded.
const sim::Simulation* simulation_of(const GameServer& client);

}  // namespace tessra
