#pragma once

#include "Tessra/entitys/agent.h"

namespace tessra {

/// Gives no orders: the side does what its missions say.
class IdleAgent : public Agent {
 public:
  explicit IdleAgent(std::string side_name) : Agent(std::move(side_name)) {}
};

}  // namespace tessra
