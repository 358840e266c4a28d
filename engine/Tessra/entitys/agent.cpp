#include "Tessra/entitys/agent.h"

namespace tessra {

void Agent::update_constant_attribute(RuleAgentBase& /*player*/) {}
void Agent::update_object_attribute(RuleAgentBase& /*player*/) {}
void Agent::initial(const Situation& /*situation*/) {}
void Agent::step(double /*time_elapsed*/, const Situation& /*situation*/) {}
void Agent::step_rl(double /*time_elapsed*/, const Situation& /*situation*/, const Dict& /*action_records*/) {}

}  // namespace tessra
