#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "apps/deduce/results.h"

namespace tessra::app {

/// What the results of one run of the program have in common.
struct RunInfo {
  std::string command;  ///< "run" or "apply"
  std::string scenario;
  std::int64_t seed = 1;  ///< base seed
  std::string version;    ///< of the program
  int agent_interface = 0;
};

/// Of this program, from the configuration section that is played.
RunInfo run_info(std::string command, const Dict& section, std::int64_t seed);

/// Notes beside the saved results which run they came from, in tables of the program's own in the results database.
class SavedRuns {
 public:
  SavedRuns(std::filesystem::path config_directory, RunInfo run)
      : directory_(std::move(config_directory)), run_(std::move(run)) {}

  /// `result_id`: the saved result's row. The first one makes the run's own. Throws `SurroundingsError`.
  void add(std::int64_t result_id, const PlayedEpisode& episode);

 private:
  std::filesystem::path directory_;
  RunInfo run_;
  std::optional<std::int64_t> run_id_;
};

/// A saved result with the run it came from; none for a result that some other host saved.
struct RunResult {
  SavedResult saved;
  struct Run {
    std::int64_t id;
    std::string started_at;  ///< UTC
    RunInfo info;
    std::string episode_seed;  ///< empty when the service does not say, as the next
    std::string ended_by;
  };
  std::optional<Run> run;
};

/// All saved results, oldest first. Throws `SurroundingsError`.
std::vector<RunResult> load_run_results(const std::filesystem::path& config_directory);

}  // namespace tessra::app
