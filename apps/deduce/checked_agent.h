#pragma once

#include <functional>
#include <memory>

#include "Tessra/entitys/agent_class.h"
#include "apps/deduce/check_progress.h"
#include "apps/deduce/findings.h"

namespace tessra::app {

/// How an agent is checked.
struct AgentWatch {
  std::shared_ptr<AgentClass> agent_class;
  Findings* findings = nullptr;
  CheckProgress* progress = nullptr;
  double limit = 1;  ///< seconds a call may take
  /// Replaces the agent at `reset` instead of calling its `reset`, to compare with a fresh one.
  bool fresh_each_episode = false;
};

/// Proxy that forwards every call to an agent. Exceptions become findings and are swallowed, so that the episode goes
/// on and can reveal more. Slow calls, and changes to the agent's own score, become findings too.
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
  /// Forwards the members set by the engine, then calls `work` with the agent and checks the call.
  void call(const char* operation, const std::function<void(Agent&)>& work);

  AgentWatch watch_;
  std::shared_ptr<Agent> agent_;
  RuleAgentBase* player_ = nullptr;  // owned by the engine; null before the first call with a player
  double time_elapsed_ = 0;
};

}  // namespace tessra::app
