#include "apps/deduce/results_command.h"

#include <fmt/format.h>

#include "Tessra/base/json_write.h"
#include "Tessra/entitys/ai_apply_config.h"
#include "apps/deduce/exit_status.h"
#include "apps/deduce/output.h"
#include "apps/deduce/saved_runs.h"

namespace tessra::app {

namespace {

/// Whether a result matches the filters. Results without a run match no filter that asks for one.
bool fits(const RunResult& result, const ResultsOptions& options) {
  if (options.run && (!result.run || result.run->id != *options.run)) return false;
  return options.scenario.empty() || (result.run && result.run->info.scenario == options.scenario);
}

std::vector<RunResult> wanted_results(const std::filesystem::path& directory, const ResultsOptions& options) {
  std::vector<RunResult> results = load_run_results(directory);
  std::erase_if(results, [&](const RunResult& result) { return !fits(result, options); });
  const auto count = static_cast<std::int64_t>(results.size());
  if (options.last && *options.last < count) results.erase(results.begin(), results.end() - *options.last);
  return results;
}

std::string result_json(const RunResult& result) {
  Dict line{{"saved_at", result.saved.saved_at}};
  line.update(result_dict(result.saved.result));
  if (result.run) {
    const RunInfo& info = result.run->info;
    line.update(Dict{{"run", result.run->id},
                     {"run_started_at", result.run->started_at},
                     {"command", info.command},
                     {"scenario", info.scenario},
                     {"seed", info.seed},
                     {"version", info.version},
                     {"agent_interface", info.agent_interface}});
    if (!result.run->episode_seed.empty()) line.set("episode_seed", result.run->episode_seed);
    if (!result.run->ended_by.empty()) line.set("ended_by", result.run->ended_by);
  }
  return write_json(line) + "\n";
}

constexpr std::string_view kRow = "{:>5}  {:<19}  {:<12}  {:>6}  {:>5}  {:<12}  {:>10}  {:<12}  {:>10}  {}\n";

std::string table_row(const RunResult& result) {
  const BatResult& played = result.saved.result;
  const auto& run = result.run;
  // Scores may be integers or reals, as reported by the service.
  std::string row =
      fmt::format(kRow, run ? std::to_string(run->id) : "-", result.saved.saved_at, run ? run->info.scenario : "-",
                  run ? std::to_string(run->info.seed) : "-", played.current_round, camp_text(played.red_name),
                  fmt::format("{:.1f}", played.red_score.as_real()), camp_text(played.blue_name),
                  fmt::format("{:.1f}", played.blue_score.as_real()), played.error_side);
  row.erase(row.find_last_not_of(" \n") + 1);
  return row + "\n";
}

}  // namespace

int list_results(const ResultsOptions& options) {
  const std::filesystem::path directory = GLOBAL_CONFIG_PATH();
  const std::vector<RunResult> results = wanted_results(directory, options);
  if (!options.json && results.empty()) {
    const bool filtered = options.run || options.last || !options.scenario.empty();
    say("no {}results in {}\n", filtered ? "such " : "", results_database(directory).string());
    return kPlayed;
  }
  if (!options.json) {
    say(kRow, "run", "saved (UTC)", "scenario", "seed", "round", "red", "red score", "blue", "blue score",
        "error side");
  }
  for (const RunResult& result : results) say_text(options.json ? result_json(result) : table_row(result));
  return kPlayed;
}

}  // namespace tessra::app
