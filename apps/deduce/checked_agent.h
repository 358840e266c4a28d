#pragma once

#include <functional>
#include <memory>

#include "Tessra/entitys/agent_class.h"
#include "apps/deduce/check_progress.h"
#include "apps/deduce/findings.h"

namespace tessra::app {

/// How an agent is watched.
struct AgentWatch {
  std::shared_ptr<AgentClass> agent_class;
  Findings* findings = nullptr;
  CheckProgress* progress = nullptr;
  double limit = 1;  ///< seconds a call may take
  /// Replaces the agent at `reset` instead of calling its own, to see what a fresh one would do.
  bool fresh_each_episode = false;
};

/// Stands before an agent and passes every call on. What the agent throws becomes a finding and ends there, so that the
/// episode goes on and shows more; so does a call that takes too long, and a score the agent writes for itself.
class CheckedAgent : public Agent {
 public:
  CheckedAgent(std::string side_name, AgentWatch watch);

  void load_model() override;
  void update_constant_attribute(RuleAgentBase& player) override;
  void update_object_attribute(RuleAgentBase& player) override;
  void info_extract() override;
  void initial(const Situation& situation) override;
  void step(double time_elapsed, const Situation& situation) override;
  bool is_done() override;
  void deduction_end() override;
  void reset() override;
  Value agent_decision_time() override;

 private:
  std::shared_ptr<Agent> make() const;
  Value own_score() const;
  /// Hands on what the engine has set since, then calls; `work` gets the agent.
  void call(const char* operation, const std::function<void(Agent&)>& work);

  AgentWatch watch_;
  std::shared_ptr<Agent> agent_;
  RuleAgentBase* player_ = nullptr;  // as last handed over; the engine's
  double time_elapsed_ = 0;
};

}  // namespace tessra::app
