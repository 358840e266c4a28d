#pragma once

#include <cstdint>
#include <string>

namespace tessra::app {

struct ReplayOptions {
  std::string folder;
  std::int64_t episode = 1;  ///< which one, when the folder holds several
  std::string dump;          ///< file for the model after each record; empty for none
};

/// Plays recorded situations through the engine. Returns the program's exit status. Throws `InputError`.
int replay_records(const ReplayOptions& options);

}  // namespace tessra::app
