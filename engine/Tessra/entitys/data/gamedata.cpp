#include "Tessra/entitys/data/gamedata.h"

#include <sqlite3.h>

#include <memory>

#include "Tessra/base/error.h"

namespace tessra {

namespace {

constexpr const char* kTable =
    "CREATE TABLE IF NOT EXISTS results ("
    "id INTEGER PRIMARY KEY, saved_at TEXT NOT NULL DEFAULT CURRENT_TIMESTAMP, round INTEGER NOT NULL,"
    "time_elapsed REAL NOT NULL, red_name TEXT NOT NULL, blue_name TEXT NOT NULL, red_score REAL NOT NULL,"
    "blue_score REAL NOT NULL, error_side TEXT NOT NULL, process_id TEXT NOT NULL)";

/// One connection, for one use.
class Database {
 public:
  explicit Database(const std::filesystem::path& file) {
    sqlite3* opened = nullptr;
    const int code = sqlite3_open(file.c_str(), &opened);
    connection_.reset(opened);
    check(code);
    sqlite3_busy_timeout(opened, 5000);
    run("PRAGMA journal_mode=WAL");
    run(kTable);
  }

  void run(const char* sql) { check(sqlite3_exec(connection_.get(), sql, nullptr, nullptr, nullptr)); }

  void check(int code) const {
    if (code == SQLITE_OK || code == SQLITE_ROW || code == SQLITE_DONE) return;
    throw Error(std::string("results database: ") + sqlite3_errmsg(connection_.get()));
  }

  sqlite3* get() const { return connection_.get(); }

 private:
  struct Close {
    void operator()(sqlite3* connection) const { sqlite3_close(connection); }
  };
  std::unique_ptr<sqlite3, Close> connection_;
};

class Statement {
 public:
  Statement(const Database& database, const char* sql) : database_(database) {
    sqlite3_stmt* prepared = nullptr;
    database.check(sqlite3_prepare_v2(database.get(), sql, -1, &prepared, nullptr));
    statement_.reset(prepared);
  }

  void bind(int place, std::int64_t value) { database_.check(sqlite3_bind_int64(statement_.get(), place, value)); }
  void bind(int place, double value) { database_.check(sqlite3_bind_double(statement_.get(), place, value)); }
  void bind(int place, const std::string& value) {
    database_.check(
        sqlite3_bind_text(statement_.get(), place, value.data(), static_cast<int>(value.size()), SQLITE_TRANSIENT));
  }
  /// True when there is a row.
  bool step() {
    const int code = sqlite3_step(statement_.get());
    database_.check(code);
    return code == SQLITE_ROW;
  }
  std::string text(int column) const {
    return reinterpret_cast<const char*>(sqlite3_column_text(statement_.get(), column));
  }
  std::int64_t integer(int column) const { return sqlite3_column_int64(statement_.get(), column); }
  double real(int column) const { return sqlite3_column_double(statement_.get(), column); }

 private:
  struct Finalize {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
  };
  const Database& database_;
  std::unique_ptr<sqlite3_stmt, Finalize> statement_;
};

}  // namespace

std::filesystem::path results_database(const std::filesystem::path& config_directory) {
  return config_directory / "results.sqlite";
}

void save_result(const std::optional<BatResult>& result, const std::filesystem::path& config_directory) {
  if (!result) return;
  std::filesystem::create_directories(config_directory);
  const Database database(results_database(config_directory));
  // A single statement is a transaction of its own.
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
}

std::vector<SavedResult> load_results(const std::filesystem::path& config_directory) {
  std::vector<SavedResult> results;
  const std::filesystem::path file = results_database(config_directory);
  if (!std::filesystem::exists(file)) return results;
  const Database database(file);
  Statement rows(database,
                 "SELECT saved_at, round, time_elapsed, red_name, blue_name, red_score, blue_score, error_side, "
                 "process_id FROM results ORDER BY id");
  while (rows.step()) {
    BatResult result(rows.integer(1), rows.real(2));
    result.red_name = rows.text(3);
    result.blue_name = rows.text(4);
    result.set_score(rows.real(5), rows.real(6));
    result.error_side = rows.text(7);
    result.process_id = rows.text(8);
    results.push_back({rows.text(0), std::move(result)});
  }
  return results;
}

}  // namespace tessra
