#pragma once

#include <string>

namespace tessra::app {

struct CheckOptions {
  std::string agent_class;
  std::string agents;  ///< agent library; empty: a class of the program's own
  double limit = 1;    ///< seconds a call may take
};

/// Plays short episodes with an agent in both modes, odd situations among them: a side without units, a unit lost
/// between decisions, a contact of which nothing is known, settings that arrive late, a second episode after `reset`.
/// Prints what the agent did wrong in plain words. Returns 0 when there is nothing to say, 1 otherwise. Throws
/// `InputError` for a library or class that cannot be used.
int check_agent(const CheckOptions& options);

}  // namespace tessra::app
