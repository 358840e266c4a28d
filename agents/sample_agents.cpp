#include "agents/sample_agents.h"

#include "agents/idle_agent.h"
#include "agents/learner_agent.h"
#include "agents/patrol_agent.h"
#include "agents/strike_agent.h"

namespace tessra {

void register_sample_agents(AgentRegistry& registry) {
  registry.add<IdleAgent>("idle", "gives no orders: the side follows its missions");
  registry.add<PatrolAgent>("patrol", "patrols a barrier in front of its bases and engages what it detects");
  registry.add<StrikeAgent>("strike", "strikes the enemy's facilities; fighters clear the way");
  registry.add<LearnerAgent>("learner", "turns a training host's action records into orders");
}

}  // namespace tessra
