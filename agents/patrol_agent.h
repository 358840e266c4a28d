#pragma once

#include "agents/fighting_agent.h"

namespace tessra {

/// Patrols and engages what it detects: fighters hold a barrier in front of the own bases, ships and coastal batteries
/// meet what comes near. It wins by not losing.
class PatrolAgent : public FightingAgent {
 public:
  explicit PatrolAgent(std::string side_name);

  void initial(const Situation& situation) override;
};

}  // namespace tessra
