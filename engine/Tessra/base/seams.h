#pragma once

#include <filesystem>
#include <memory>
#include <string_view>

namespace tessra {

class StopEvent;

/// Wall-clock time in seconds, and waiting. Not the simulation's clock.
class WallClock {
 public:
  virtual ~WallClock() = default;
  /// Seconds since some fixed moment; never runs backwards.
  virtual double now() const = 0;
  /// Waits; returns early when the stop signal is or becomes set.
  virtual void wait(double seconds, const StopEvent* stop = nullptr) = 0;
};

/// Standard output and error of the program. Both operations write one or more lines and end the last one.
class Console {
 public:
  virtual ~Console() = default;
  virtual void print(std::string_view text) = 0;
  virtual void print_error(std::string_view text) = 0;
};

/// The end of the whole program.
class ProgramExit {
 public:
  virtual ~ProgramExit() = default;
  /// Does not return. A replacement throws `ProgramEnd`, which no guard of the engine intercepts.
  [[noreturn]] virtual void end(int status) = 0;
};

/// The engine's dependencies on its environment, injected so that hosts and tests can replace them.
struct Seams {
  std::shared_ptr<WallClock> clock;
  std::shared_ptr<Console> console;
  std::shared_ptr<ProgramExit> exit;
  /// The configuration directory of the installation, which holds the run log and the results database.
  std::filesystem::path config_directory;
};

/// The real ones: the steady clock, the standard streams, and an exit that flushes logs and streams first.
std::shared_ptr<WallClock> real_clock();
std::shared_ptr<Console> real_console();
std::shared_ptr<ProgramExit> real_exit();

}  // namespace tessra
