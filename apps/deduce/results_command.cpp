#include "apps/deduce/results_command.h"

#include <fmt/format.h>

#include "Tessra/base/json_write.h"
#include "Tessra/entitys/ai_apply_config.h"
#include "apps/deduce/exit_status.h"
#include "apps/deduce/results.h"

namespace tessra::app {

namespace {

/// Scores are numbers of whatever kind the service gave.
std::string score(const Value& value) { return fmt::format("{:.1f}", value.as_real()); }

}  // namespace

int list_results(bool json) {
  const std::filesystem::path directory = GLOBAL_CONFIG_PATH();
  const std::vector<SavedResult> results = load_results(directory);
  if (json) {
    for (const SavedResult& saved : results) {
      Dict line{{"saved_at", saved.saved_at}};
      line.update(result_dict(saved.result));
      fmt::print("{}\n", write_json(line));
    }
    return kPlayed;
  }
  if (results.empty()) {
    fmt::print("no results in {}\n", results_database(directory).string());
    return kPlayed;
  }
  fmt::print("{:<19}  {:>5}  {:<16}  {:>10}  {:<16}  {:>10}  {}\n", "saved (UTC)", "round", "red", "red score", "blue",
             "blue score", "error side");
  for (const auto& [saved_at, result] : results) {
    fmt::print("{:<19}  {:>5}  {:<16}  {:>10}  {:<16}  {:>10}  {}\n", saved_at, result.current_round, result.red_name,
               score(result.red_score), result.blue_name, score(result.blue_score), result.error_side);
  }
  return kPlayed;
}

}  // namespace tessra::app
