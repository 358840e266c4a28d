#pragma once

#include "Tessra/entitys/agent_class.h"

namespace tessra {

/// Registers the sample agents: "idle", "patrol", "strike" and "learner".
void register_sample_agents(AgentRegistry& registry);

}  // namespace tessra
