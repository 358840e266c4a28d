#pragma once

#include "apps/deduce/configuration.h"

namespace tessra::app {

/// Plays episodes and prints who won. Returns the exit status. Throws `InputError`.
int run_episodes(const RunOptions& options);

}  // namespace tessra::app
