#pragma once

#include "Tessra/entitys/agent.h"
#include "agents/fire_control.h"

namespace tessra {

/// An agent whose units fire at what their roles are meant for. Sample agents derive from it and add where to go.
class FightingAgent : public Agent {
 public:
  /// `shooters` is how many units are sent against one contact.
  FightingAgent(std::string side_name, std::vector<Role> roles, int shooters)
      : Agent(std::move(side_name)), fire_control_(std::move(roles), shooters) {}

  void info_extract() override { fire_control_.configure(client_info); }
  void initial(const Situation& situation) override { fire_control_.free_weapons(situation); }
  void step(double /*time_elapsed*/, const Situation& situation) override { fire_control_.engage(situation); }
  void reset() override { fire_control_.reset(); }
  Value agent_decision_time() override { return settings().decision_interval(); }

 protected:
  const ClientSettings& settings() const { return fire_control_.settings(); }

 private:
  FireControl fire_control_;
};

}  // namespace tessra
