#pragma once

#include <spdlog/sinks/sink.h>

#include <filesystem>
#include <memory>

namespace tessra {

/// The file output of a run log: appends UTF-8 lines of the form
/// `2024-01-02 09:05:03.007 - Apply - INFO - message` (local time) and flushes each.
///
/// There is one output per file and process, so several engines may write to one log. The line format is fixed;
/// pattern changes a host makes on its logger do not reach it. Throws `SurroundingsError` when the file cannot be
/// opened. A line that cannot be written is told to the logger's error handler (spdlog's own prints on standard error).
std::shared_ptr<spdlog::sinks::sink> log_file_output(const std::filesystem::path& path);

}  // namespace tessra
