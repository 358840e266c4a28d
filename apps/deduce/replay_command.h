#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tessra::app {

struct ReplayOptions {
  std::string folder;
  std::optional<std::int64_t> episode;  ///< which one, when the folder holds several
  std::string dump;                     ///< file for the model after each record; empty for none
};

/// Plays recorded situations through the engine. Returns the program's exit status, 1 when the recording is damaged or
/// breaks off. Throws `InputError`.
int replay_records(const ReplayOptions& options);

}  // namespace tessra::app
