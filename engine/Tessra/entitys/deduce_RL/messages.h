#pragma once

#include <concepts>
#include <string_view>

#include "Tessra/base/log.h"
#include "Tessra/entitys/deduce_RL/deduction.h"

// The engine's two forms of messages. Their texts stand where they are written, word for word.

namespace tessra {

/// To the run log; nowhere without one.
inline void log_only(const Settings& engine, LogLevel level, std::string_view text) {
  write_log(engine.logger, level, text);
}

/// The same for a text that has to be formatted. Without a run log it is not, and a value that cannot be formatted is
/// then no error.
template <std::invocable Text>
void log_only(const Settings& engine, LogLevel level, const Text& text) {
  if (engine.logger != nullptr) write_log(engine.logger, level, text());
}

/// To the run log, or to standard output when there is none.
void log_or_print(const Deduction& engine, LogLevel level, std::string_view text);

/// Opens the run log of AI-apply mode: a file, in addition to the outputs of the host's logger.
void open_run_log(Deduction& engine, Dict game_config);

}  // namespace tessra
