#include "Tessra/base/log_file.h"

#include <spdlog/details/os.h>

#include <cerrno>
#include <chrono>
#include <fstream>
#include <map>
#include <mutex>
#include <string>
#include <system_error>

#include <fmt/chrono.h>
#include <fmt/format.h>

#include "Tessra/base/error.h"

namespace tessra {

namespace {

const char* level_name(spdlog::level::level_enum level) {
  switch (level) {
    case spdlog::level::warn:
      return "WARNING";
    case spdlog::level::err:
      return "ERROR";
    case spdlog::level::critical:
      return "CRITICAL";
    case spdlog::level::info:
      return "INFO";
    default:
      return "DEBUG";
  }
}

/// Formats lines itself instead of using spdlog's formatter: the level names and the "seconds.millis" form are fixed.
class LogFile : public spdlog::sinks::sink {
 public:
  explicit LogFile(std::filesystem::path path) : path_(std::move(path)) {
    errno = 0;
    file_.open(path_, std::ios::app | std::ios::binary);
    if (!file_) fail("open");
  }

  void log(const spdlog::details::log_msg& message) override {
    const auto since = message.time.time_since_epoch();
    const auto seconds = std::chrono::floor<std::chrono::seconds>(since);
    const auto millis = std::chrono::floor<std::chrono::milliseconds>(since - seconds).count();
    const std::tm local = spdlog::details::os::localtime(static_cast<std::time_t>(seconds.count()));
    const std::string line =
        fmt::format("{:%Y-%m-%d %H:%M:%S}.{:03d} - {} - {} - {}\n", local, millis,
                    std::string_view(message.logger_name.data(), message.logger_name.size()), level_name(message.level),
                    std::string_view(message.payload.data(), message.payload.size()));
    const std::lock_guard lock(mutex_);
    file_.clear();  // retry after a failure: the disk may have room again
    errno = 0;
    if (!(file_ << line << std::flush)) fail("write");
  }

  void flush() override {
    const std::lock_guard lock(mutex_);
    file_.flush();
  }

  void set_pattern(const std::string&) override {}
  void set_formatter(std::unique_ptr<spdlog::formatter>) override {}

 private:
  [[noreturn]] void fail(const char* action) const {
    throw SurroundingsError(
        fmt::format("cannot {} the run log {}: {}", action, path_.string(), std::generic_category().message(errno)));
  }

  std::mutex mutex_;
  std::filesystem::path path_;
  std::ofstream file_;
};

}  // namespace

std::shared_ptr<spdlog::sinks::sink> log_file_output(const std::filesystem::path& path) {
  // Two streams on one file would interleave their lines. Weak pointers, so that a file closes with its last logger.
  static std::mutex mutex;
  static std::map<std::filesystem::path, std::weak_ptr<spdlog::sinks::sink>> open_files;

  const std::filesystem::path place = std::filesystem::weakly_canonical(path);
  const std::lock_guard lock(mutex);
  if (auto open = open_files[place].lock()) return open;
  auto output = std::make_shared<LogFile>(place);
  open_files[place] = output;
  return output;
}

}  // namespace tessra
