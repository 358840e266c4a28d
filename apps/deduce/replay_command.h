#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tessra::app {

struct ReplayOptions {
  std::string folder;
  std::optional<std::int64_t> episode;  ///< required if the folder holds several
  std::string dump;                     ///< file for the model after each record; empty for none
};

/// Replays recorded situations through the engine. Returns the exit status, 1 if the recording is damaged or
/// incomplete. Throws `InputError`.
int replay_records(const ReplayOptions& options);

}  // namespace tessra::app
