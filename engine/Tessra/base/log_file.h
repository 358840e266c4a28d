#pragma once

#include <spdlog/sinks/sink.h>

#include <filesystem>
#include <memory>

namespace tessra {

/// The file output of a run log: appends UTF-8 lines of the form
/// `2024-01-02 09:05:03.007 - Apply - INFO - message` (local time) and flushes each.
///
/// There is one output per file and process, so several engines may write to one log. The line format is fixed; a
/// pattern set on the host's logger does not affect it. Throws `SurroundingsError` when the file cannot be opened. A
/// line that cannot be written is reported to the logger's error handler (spdlog's default prints on standard error).
std::shared_ptr<spdlog::sinks::sink> log_file_output(const std::filesystem::path& path);

}  // namespace tessra
