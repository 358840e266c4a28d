// Runs are stored in tables of their own: the engine's `results` table has a fixed form that other hosts rely on.

#include "apps/deduce/saved_runs.h"

#include <map>

#include "Tessra/entitys/agent_library.h"
#include "Tessra/entitys/data/database.h"

namespace tessra::app {

namespace {

constexpr const char* kTables =
    "CREATE TABLE IF NOT EXISTS runs ("
    "id INTEGER PRIMARY KEY, started_at TEXT NOT NULL DEFAULT CURRENT_TIMESTAMP, command TEXT NOT NULL,"
    "scenario TEXT NOT NULL, seed INTEGER NOT NULL, version TEXT NOT NULL, agent_interface INTEGER NOT NULL);"
    "CREATE TABLE IF NOT EXISTS run_results ("
    "result_id INTEGER PRIMARY KEY, run_id INTEGER NOT NULL REFERENCES runs (id), episode_seed TEXT NOT NULL,"
    "ended_by TEXT NOT NULL)";

std::int64_t add_run(const Database& database, const RunInfo& run) {
  Statement insert(database,
                   "INSERT INTO runs (command, scenario, seed, version, agent_interface) VALUES (?, ?, ?, ?, ?)");
  insert.bind(1, run.command);
  insert.bind(2, run.scenario);
  insert.bind(3, run.seed);
  insert.bind(4, run.version);
  insert.bind(5, std::int64_t{run.agent_interface});
  insert.step();
  return database.last_id();
}

std::map<std::int64_t, RunResult::Run> load_runs(const Database& database) {
  std::map<std::int64_t, RunResult::Run> runs;
  Statement rows(database,
                 "SELECT result_id, run_id, started_at, command, scenario, seed, version, agent_interface, "
                 "episode_seed, ended_by FROM run_results JOIN runs ON runs.id = run_id");
  while (rows.step()) {
    const RunInfo info{rows.text(3), rows.text(4), rows.integer(5), rows.text(6), static_cast<int>(rows.integer(7))};
    runs.insert_or_assign(rows.integer(0),
                          RunResult::Run{rows.integer(1), rows.text(2), info, rows.text(8), rows.text(9)});
  }
  return runs;
}

}  // namespace

RunInfo run_info(std::string command, const Dict& section, std::int64_t seed) {
  const Value scenario = section.at_dict("simulate").get("scenario");
  return {std::move(command), scenario.is_none() ? "" : std::string(scenario.to_text()), seed, TESSRA_VERSION,
          kAgentInterface};
}

void SavedRuns::add(std::int64_t result_id, const PlayedEpisode& episode) {
  // The run's row is created with its first result, so that runs without results leave none; both or neither.
  const Database database(results_database(directory_));
  Transaction transaction(database);
  database.run(kTables);
  const std::int64_t run_id = run_id_ ? *run_id_ : add_run(database, run_);
  Statement insert(database, "INSERT INTO run_results (result_id, run_id, episode_seed, ended_by) VALUES (?, ?, ?, ?)");
  insert.bind(1, result_id);
  insert.bind(2, run_id);
  insert.bind(3, episode.episode_seed ? std::to_string(*episode.episode_seed) : std::string());
  insert.bind(4, episode.ended_by);
  insert.step();
  transaction.commit();
  run_id_ = run_id;  // only after the commit: a failed one leaves no row to refer to
}

std::vector<RunResult> load_run_results(const std::filesystem::path& config_directory) {
  std::vector<RunResult> results;
  std::vector<SavedResult> saved = load_results(config_directory);
  if (saved.empty()) return results;  // there may be no database yet, and reading must not create one
  const Database database(results_database(config_directory));
  database.run(kTables);
  const auto runs = load_runs(database);
  for (SavedResult& result : saved) {
    const auto run = runs.find(result.id);
    results.push_back({std::move(result), run != runs.end() ? std::optional(run->second) : std::nullopt});
  }
  return results;
}

}  // namespace tessra::app
