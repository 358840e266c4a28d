#include "Tessra/base/log.h"

#include <spdlog/logger.h>

namespace tessra {

void write_log(const LogSink& sink, LogLevel level, std::string_view text) {
  if (sink == nullptr) return;
  switch (level) {
    case LogLevel::info:
      return sink->log(spdlog::level::info, text);
    case LogLevel::warning:
      return sink->log(spdlog::level::warn, text);
    case LogLevel::error:
      return sink->log(spdlog::level::err, text);
  }
}

std::int64_t whole_number(const Value& value) {
  if (!value.is_number()) throw KindError("expected a number, found " + std::string(kind_name(value.kind())));
  return value.to_integer();
}

}  // namespace tessra
