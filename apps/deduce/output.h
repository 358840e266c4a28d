#pragma once

#include <fmt/format.h>

#include <string_view>
#include <utility>

namespace tessra::app {

/// Call before anything is opened or written. Occupies closed standard descriptors, so that writing to them fails
/// instead of going into a file opened later, and turns a broken pipe or a file size limit into an ordinary write
/// error.
void prepare_streams();

/// Writes to standard output and flushes, so that the text is not lost whatever happens next. Throws
/// `SurroundingsError` with the reason.
void say_text(std::string_view text);
template <class... Args>
void say(fmt::format_string<Args...> format, Args&&... args) {
  say_text(fmt::format(format, std::forward<Args>(args)...));
}

/// Writes to standard error. Ignores failures, since there is no place to report them.
void tell_text(std::string_view text);
template <class... Args>
void tell(fmt::format_string<Args...> format, Args&&... args) {
  tell_text(fmt::format(format, std::forward<Args>(args)...));
}

/// Writes a short text to a file descriptor, bypassing the streams, unless that would block: for a thread that must not
/// wait for one that is writing.
void write_if_ready(int descriptor, std::string_view text);

/// Ends the process at once with this status, from any thread. Buffered standard output is flushed unless that would
/// block. Nothing is destroyed, since other threads may still run.
[[noreturn]] void end_process(int status);

}  // namespace tessra::app
