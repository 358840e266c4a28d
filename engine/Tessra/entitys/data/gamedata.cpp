#include "Tessra/entitys/data/gamedata.h"

#include "Tessra/base/folder.h"
#include "Tessra/entitys/data/database.h"

namespace tessra {

namespace {

constexpr const char* kTable =
    "CREATE TABLE IF NOT EXISTS results ("
    "id INTEGER PRIMARY KEY, saved_at TEXT NOT NULL DEFAULT CURRENT_TIMESTAMP, round INTEGER NOT NULL,"
    "time_elapsed REAL NOT NULL, red_name TEXT NOT NULL, blue_name TEXT NOT NULL, red_score REAL NOT NULL,"
    "blue_score REAL NOT NULL, error_side TEXT NOT NULL, process_id TEXT NOT NULL)";

}  // namespace

std::filesystem::path results_database(const std::filesystem::path& config_directory) {
  return config_directory / "results.sqlite";
}

std::int64_t save_result(const std::optional<BatResult>& result, const std::filesystem::path& config_directory) {
  if (!result) return 0;
  make_folder(config_directory);
  const Database database(results_database(config_directory));
  database.run(kTable);
  // A single statement is its own transaction.
  Statement insert(database,
                   "INSERT INTO results (round, time_elapsed, red_name, blue_name, red_score, blue_score, error_side, "
                   "process_id) VALUES (?, ?, ?, ?, ?, ?, ?, ?)");
  insert.bind(1, result->current_round);
  insert.bind(2, result->time_elapsed);
  insert.bind(3, result->red_name);
  insert.bind(4, result->blue_name);
  insert.bind(5, result->red_score.as_real());
  insert.bind(6, result->blue_score.as_real());
  insert.bind(7, result->error_side);
  insert.bind(8, result->process_id.to_text());
  insert.step();
  return database.last_id();
}

std::vector<SavedResult> load_results(const std::filesystem::path& config_directory) {
  std::vector<SavedResult> results;
  const std::filesystem::path file = results_database(config_directory);
  if (!std::filesystem::exists(file)) return results;
  const Database database(file);
  database.run(kTable);
  Statement rows(database,
                 "SELECT saved_at, round, time_elapsed, red_name, blue_name, red_score, blue_score, error_side, "
                 "process_id, id FROM results ORDER BY id");
  while (rows.step()) {
    BatResult result(rows.integer(1), rows.real(2));
    result.red_name = rows.text(3);
    result.blue_name = rows.text(4);
    result.set_score(rows.real(5), rows.real(6));
    result.error_side = rows.text(7);
    result.process_id = rows.text(8);
    results.push_back({rows.integer(9), rows.text(0), std::move(result)});
  }
  return results;
}

}  // namespace tessra
