#pragma once

#include "apps/deduce/configuration.h"

namespace tessra::app {

/// Runs one agent of one side for the in-process scheduling client, to the end of the scenario. The engine's reports to
/// the client are printed on standard error as they are made. Returns the exit status: 0 after a complete round; 1 if
/// the round was abandoned, `deduction_end` failed, or the environment did (a disk, a database); 128 plus the signal
/// number after a signal. When the engine ends the program after a fatal failure of agent or service, the status is 0,
/// as schedulers expect. Throws `InputError`.
int apply_agent(const ApplyOptions& options);

}  // namespace tessra::app
