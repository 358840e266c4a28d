#pragma once

#include "agents/fighting_agent.h"

namespace tessra {

/// Defensive: fighters patrol a barrier in front of the side's own bases, ships and coastal batteries engage what comes
/// near.
class PatrolAgent : public FightingAgent {
 public:
  explicit PatrolAgent(std::string side_name);

  void initial(const Situation& situation) override;
};

}  // namespace tessra
