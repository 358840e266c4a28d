#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "Tessra/base/value.h"

namespace tessra {

/// The result of an episode, or of the part of it played before an agent failed.
struct BatResult {
  /// `round` counts episodes from 1; `seconds` are simulated.
  BatResult(std::int64_t round, double seconds) : current_round(round), time_elapsed(seconds) {}

  void set_score(Value red, Value blue) {
    red_score = std::move(red);
    blue_score = std::move(blue);
  }

  std::int64_t current_round;
  double time_elapsed;
  /// Agent names of the two camps.
  std::string red_name;
  std::string blue_name;
  /// The scores as reported by the service; numbers of any kind.
  Value red_score = 0;
  Value blue_score = 0;
  /// The side whose agent failed; empty when none did.
  std::string error_side;
  Value process_id;
};

/// One row of the results database.
struct SavedResult {
  std::int64_t id;
  std::string saved_at;  ///< UTC, "2024-01-02 09:05:03"
  BatResult result;
};

/// The results database of a configuration directory, an SQLite file.
std::filesystem::path results_database(const std::filesystem::path& config_directory);

/// Adds a result to the database, in one transaction; several processes may write concurrently. An abandoned round has
/// no result and adds nothing. Returns the id of the row, or 0. Throws `SurroundingsError` with SQLite's message.
std::int64_t save_result(const std::optional<BatResult>& result, const std::filesystem::path& config_directory);

/// All results, oldest first; none when there is no database yet. Throws `SurroundingsError`.
std::vector<SavedResult> load_results(const std::filesystem::path& config_directory);

}  // namespace tessra
