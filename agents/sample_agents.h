#pragma once

#include "Tessra/entitys/agent_class.h"

namespace tessra {

/// Makes the sample agents known by name: "idle", "patrol", "strike" and "learner".
void register_sample_agents(AgentRegistry& registry);

}  // namespace tessra
