#pragma once

#include <fmt/format.h>

#include <string_view>
#include <utility>

namespace tessra::app {

/// Before anything is opened or written: a stream that the caller closed fails when it is written to, instead of ending
/// in a file that was opened in its place; a broken pipe and a file beyond its limit are errors like others.
void prepare_streams();

/// Writes to standard output and hands it to the operating system at once, so that it is there whatever comes next.
/// Throws `SurroundingsError` naming standard output and the reason.
void say_text(std::string_view text);
template <class... Args>
void say(fmt::format_string<Args...> format, Args&&... args) {
  say_text(fmt::format(format, std::forward<Args>(args)...));
}

/// Writes to standard error. Where that cannot be written there is nobody to tell, so it never fails.
void tell_text(std::string_view text);
template <class... Args>
void tell(fmt::format_string<Args...> format, Args&&... args) {
  tell_text(fmt::format(format, std::forward<Args>(args)...));
}

/// Writes a short text to a file descriptor, past the streams, unless that would have to wait: for a thread that must
/// not be held up by one that writes.
void write_if_ready(int descriptor, std::string_view text);

/// Ends the process at once with this status, from any thread; what is left in standard output is written unless that
/// would have to wait. Nothing is destroyed, since other threads may still run.
[[noreturn]] void end_process(int status);

}  // namespace tessra::app
