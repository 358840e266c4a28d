#pragma once

#include <exception>

#include "Tessra/entitys/deduce_RL/deduction.h"

// Failure reports of a scheduled run. Texts are printf formats: those for the client take the error and the path of the
// run log, those for the run log take the error with its trace.

namespace tessra {

void report_to_client(const Deduction& engine, const char* text, const std::exception_ptr& error);
/// Failures of steps and commands reach the client once in the engine's life.
void report_once(Deduction& engine, const char* text, const std::exception_ptr& error);
void log_trace(const Deduction& engine, const char* text, const std::exception_ptr& error);
/// Throws `Error` when no scheduled run has made the signal.
void set_stop_signal(const Deduction& engine);

}  // namespace tessra
