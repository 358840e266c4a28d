#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "Tessra/base/value.h"

namespace spdlog {
class logger;
}

namespace tessra {

/// The run log: a logger created by the host or the engine, not registered anywhere. Null means no log.
using LogSink = std::shared_ptr<spdlog::logger>;

enum class LogLevel { info, warning, error };

/// Writes a formatted text, if there is a logger.
void write_log(const LogSink& sink, LogLevel level, std::string_view text);

/// A value as formatted by "%d": numbers are truncated. Throws `KindError` for anything that is not a number.
std::int64_t whole_number(const Value& value);
inline std::int64_t whole_number(double real) { return Value(real).to_integer(); }

}  // namespace tessra
