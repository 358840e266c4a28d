#pragma once

#include <functional>

#include "apps/deduce/check_progress.h"

namespace tessra::app {

/// Runs a check in a child process and watches it. A crash, an exit of the program, or a call that does not return is
/// reported with the operation that was running, instead of ending the report. A call is given up after twice `limit`
/// plus half a second. `work` returns an exit status; exceptions are reported as in `main`. Returns the exit status.
int run_watched(CheckProgress& progress, double limit, const std::function<int()>& work);

}  // namespace tessra::app
