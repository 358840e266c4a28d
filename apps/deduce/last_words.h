#pragma once

namespace tessra::app {

/// Installs handlers that report an agent which ends the program. Call on the main thread, before agents are loaded. A
/// crash is reported on standard error with the agent and operation that were running, and still ends the process by
/// its signal. `std::exit` and `std::quick_exit` before `end_is_expected` are reported the same way, with status 1.
/// `_exit`, `std::_Exit` and `SIGKILL` cannot be caught.
void watch_for_sudden_end();

/// From here on the end of the program is regular and not reported.
void end_is_expected();

/// For the main thread when a callee ended it by `pthread_exit`: reports it and ends the process with status 1.
[[noreturn]] void end_with_main_thread();

}  // namespace tessra::app
