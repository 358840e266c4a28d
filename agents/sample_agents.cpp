#include "agents/sample_agents.h"

#include "agents/idle_agent.h"
#include "agents/learner_agent.h"
#include "agents/patrol_agent.h"
#include "agents/strike_agent.h"

namespace tessra {

void register_sample_agents(AgentRegistry& registry) {
  registry.add<IdleAgent>("idle");
  registry.add<PatrolAgent>("patrol");
  registry.add<StrikeAgent>("strike");
  registry.add<LearnerAgent>("learner");
}

}  // namespace tessra
