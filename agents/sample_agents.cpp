#include "agents/sample_agents.h"

#include "agents/idle_agent.h"

namespace tessra {

void register_sample_agents(AgentRegistry& registry) { registry.add<IdleAgent>("idle"); }

}  // namespace tessra
