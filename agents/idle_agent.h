#pragma once

#include "Tessra/entitys/agent.h"

namespace tessra {

/// Gives no orders: the side follows its missions.
class IdleAgent : public Agent {
 public:
  explicit IdleAgent(std::string side_name) : Agent(std::move(side_name)) {}
};

}  // namespace tessra
