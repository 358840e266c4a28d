#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "Tessra/base/value.h"

namespace spdlog {
class logger;
}

namespace tessra {

/// The run log's sink: a logger made by the host or the engine, not registered anywhere. Empty means no log.
using LogSink = std::shared_ptr<spdlog::logger>;

enum class LogLevel { info, warning, error };

/// Writes a ready-made text, when there is a sink.
void write_log(const LogSink& sink, LogLevel level, std::string_view text);

/// A value for "%d": numbers lose their fraction. Throws `KindError` for texts, none and whatever is no number.
std::int64_t whole_number(const Value& value);
inline std::int64_t whole_number(double real) { return Value(real).to_integer(); }

}  // namespace tessra
