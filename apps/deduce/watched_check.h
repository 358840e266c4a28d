#pragma once

#include <functional>

#include "apps/deduce/check_progress.h"

namespace tessra::app {

/// Runs a check in a process of its own and watches it from here, so that neither a crash nor the end of the program
/// nor a call that never returns takes the report with it: each is told, with the operation that was running. A call
/// is given up after twice `limit` and half a second. `work` returns an exit status; what it throws is told as `main`
/// would. Returns the exit status.
int run_watched(CheckProgress& progress, double limit, const std::function<int()>& work);

}  // namespace tessra::app
