#pragma once

#include "Tessra/entitys/agent.h"
#include "agents/fire_control.h"

namespace tessra {

/// Strikes ground targets: strike aircraft go for the enemy's facilities, fighters clear their way, the rest fights
/// what comes near.
class StrikeAgent : public Agent {
 public:
  explicit StrikeAgent(std::string side_name);

  void info_extract() override { fire_control_.configure(client_info); }
  void initial(const Situation& situation) override;
  void step(double time_elapsed, const Situation& situation) override;
  void reset() override { fire_control_.reset(); }
  Value agent_decision_time() override { return fire_control_.settings().decision_interval(); }

 private:
  FireControl fire_control_;
};

}  // namespace tessra
