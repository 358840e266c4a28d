#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tessra::app {

/// Which saved results are meant, and how they are shown.
struct ResultsOptions {
  std::optional<std::int64_t> run;
  std::string scenario;
  std::optional<std::int64_t> last;  ///< the newest of those that fit the rest
  bool json = false;
};

/// Lists the results database of the configuration directory, oldest first: a table, or one JSON object per result.
/// Throws `SurroundingsError`.
int list_results(const ResultsOptions& options);

}  // namespace tessra::app
