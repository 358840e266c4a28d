#pragma once

namespace tessra::app {

/// From here on the program does not end from inside an agent without a word. Call it on the main thread, before agents
/// are loaded. A crash is told on standard error with the agent and the operation that were running, and ends the
/// process by its signal as it would have. `std::exit` and `std::quick_exit` before `end_is_expected` are told in the
/// same way, with status 1. An `_exit`, `std::_Exit` or `SIGKILL` leaves nobody to tell.
void watch_for_sudden_end();

/// The program has done its work: its end is its own from here on.
void end_is_expected();

/// For the main thread when something below ended it by `pthread_exit`: tells so and ends the process with status 1.
[[noreturn]] void end_with_main_thread();

}  // namespace tessra::app
