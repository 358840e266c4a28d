#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "apps/deduce/serve_command.h"

namespace tessra::app {

struct ScheduleOptions {
  std::string config;
  std::string listen = "127.0.0.1:7701";
  std::string settings;  ///< file: agent id → settings
  std::optional<std::int64_t> seed;
  std::int64_t lease = 30;  ///< seconds
  AccessOptions access;
  bool once = false;
  bool exit_with_parent = false;
  bool json = false;
};

/// A scheduling client for agents in other processes: offers one side of the configured scenario to one agent at a
/// time, shows its decisions and errors, and waits for the next one. Every agent starts the scenario from its
/// beginning. Returns the exit status: 0 after a signal or, with `once`, after a complete round, 1 after one that was
/// not. Throws `InputError`.
int schedule_agents(const ScheduleOptions& options);

}  // namespace tessra::app
