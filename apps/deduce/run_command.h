#pragma once

#include "apps/deduce/configuration.h"

namespace tessra::app {

/// Plays episodes and shows who won. Returns the program's exit status. Throws `InputError`.
int run_episodes(const RunOptions& options);

}  // namespace tessra::app
