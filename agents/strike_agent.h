#pragma once

#include "agents/fighting_agent.h"

namespace tessra {

/// Offensive: strike aircraft attack the enemy's facilities, fighters clear the way, all others engage what comes near.
class StrikeAgent : public FightingAgent {
 public:
  explicit StrikeAgent(std::string side_name);
};

}  // namespace tessra
