#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tessra::app {

/// Which saved results to list, and how.
struct ResultsOptions {
  std::optional<std::int64_t> run;
  std::string scenario;
  std::optional<std::int64_t> last;  ///< only this many, the newest of those that match
  bool json = false;
};

/// Lists the results database of the configuration directory, oldest first: a table, or one JSON object per result.
/// Throws `SurroundingsError`.
int list_results(const ResultsOptions& options);

}  // namespace tessra::app
