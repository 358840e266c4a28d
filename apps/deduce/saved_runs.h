#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "apps/deduce/results.h"

namespace tessra::app {

/// Common data of the results of one run of the program.
struct RunInfo {
  std::string command;  ///< "run" or "apply"
  std::string scenario;
  std::int64_t seed = 1;  ///< base seed
  std::string version;    ///< of the program
  int agent_interface = 0;
};

/// The data of a run of this program, from its configuration section.
RunInfo run_info(std::string command, const Dict& section, std::int64_t seed);

/// Records which run saved results came from, in additional tables of the results database.
class SavedRuns {
 public:
  SavedRuns(std::filesystem::path config_directory, RunInfo run)
      : directory_(std::move(config_directory)), run_(std::move(run)) {}

  /// `result_id`: row of the saved result. The first call also creates the row of the run. Throws `SurroundingsError`.
  void add(std::int64_t result_id, const PlayedEpisode& episode);

 private:
  std::filesystem::path directory_;
  RunInfo run_;
  std::optional<std::int64_t> run_id_;
};

/// A saved result with the run it came from; no run if another host saved it.
struct RunResult {
  SavedResult saved;
  struct Run {
    std::int64_t id;
    std::string started_at;  ///< UTC
    RunInfo info;
    std::string episode_seed;  ///< empty if unknown
    std::string ended_by;      ///< empty if unknown
  };
  std::optional<Run> run;
};

/// All saved results, oldest first. Throws `SurroundingsError`.
std::vector<RunResult> load_run_results(const std::filesystem::path& config_directory);

}  // namespace tessra::app
