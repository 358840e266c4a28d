#pragma once

#include "agents/fighting_agent.h"

namespace tessra {

/// Strikes ground targets: strike aircraft go for the enemy's facilities, fighters clear their way, the rest fights
/// what comes near.
class StrikeAgent : public FightingAgent {
 public:
  explicit StrikeAgent(std::string side_name);
};

}  // namespace tessra
