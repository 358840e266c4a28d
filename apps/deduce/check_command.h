#pragma once

#include <string>

namespace tessra::app {

struct CheckOptions {
  std::string agent_class;
  std::string agents;  ///< agent library; empty for a built-in class
  double limit = 1;    ///< seconds a call may take
};

/// Plays short episodes with an agent in both modes, including edge cases: a side without units, a unit lost between
/// decisions, a contact with nothing but an id, settings that arrive late, a second episode after `reset`. Prints what
/// the agent did wrong. Returns 0 if there are no findings, 1 otherwise. Throws `InputError` for a library or class
/// that cannot be used.
int check_agent(const CheckOptions& options);

}  // namespace tessra::app
