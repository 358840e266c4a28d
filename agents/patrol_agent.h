#pragma once

#include "Tessra/entitys/agent.h"
#include "agents/fire_control.h"

namespace tessra {

/// Patrols and engages what it detects: fighters hold a barrier in front of the own bases, ships and coastal batteries
/// meet what comes near. It wins by not losing.
class PatrolAgent : public Agent {
 public:
  explicit PatrolAgent(std::string side_name);

  void info_extract() override { fire_control_.configure(client_info); }
  void initial(const Situation& situation) override;
  void step(double time_elapsed, const Situation& situation) override;
  void reset() override { fire_control_.reset(); }
  Value agent_decision_time() override { return fire_control_.settings().decision_interval(); }

 private:
  FireControl fire_control_;
};

}  // namespace tessra
