#pragma once

#include "Tessra/entitys/agent.h"

namespace tessra {

/// A learning agent that turns the actions of the host's policy into orders. Action records are keyed by unit id:
///
///     {"_agent_type_": "learner", "order": "attack", "contact": "…"}
///     {"_agent_type_": "learner", "order": "move", "lon": 150.0, "lat": 20.0}
///     {"_agent_type_": "learner", "order": "control", "control": "free"}
///
/// Records for lost units are ignored; an unknown order is an error.
class LearnerAgent : public Agent {
 public:
  static constexpr bool is_learn = true;

  explicit LearnerAgent(const AgentConf& conf) : Agent(conf.side), conf_(conf) {}

  void step_rl(double time_elapsed, const Situation& situation, const Dict& action_records) override;

 private:
  AgentConf conf_;
};

}  // namespace tessra
