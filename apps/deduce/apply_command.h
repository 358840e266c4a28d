#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tessra::app {

struct ApplyOptions {
  std::string config;
  std::string agents;  ///< agent library; beats the configuration's `player.agent_path`
  std::optional<std::int64_t> seed;
  bool json = false;
  bool quiet = false;
  bool trace = false;
};

/// Runs one agent of one side for the scheduling client of this process, to the end of the scenario. What the engine
/// reports to the client goes to standard error as it comes. Returns the exit status: 0 played, 1 when the round was
/// abandoned, its end failed or the program's surroundings did (a disk, a database), 128 plus the number of the signal
/// that stopped it; when the engine ends the program after a fatal failure of agent or service, that is a normal end
/// with status 0, as a scheduler expects. Throws `InputError`.
int apply_agent(const ApplyOptions& options);

}  // namespace tessra::app
