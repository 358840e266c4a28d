#pragma once

#include <filesystem>
#include <memory>
#include <string_view>

namespace tessra {

class StopEvent;

/// Time on the wall, in seconds, and waiting. Not the simulation's clock.
class WallClock {
 public:
  virtual ~WallClock() = default;
  /// Seconds since some fixed moment; never runs backwards.
  virtual double now() const = 0;
  /// Waits, or returns at once when the stop signal is or becomes set.
  virtual void wait(double seconds, const StopEvent* stop = nullptr) = 0;
};

/// Standard output and error of the program. Both operations write one line, or several, and end it.
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

/// What the engine takes from its surroundings, so that hosts and tests can put their own in its place.
struct Seams {
  std::shared_ptr<WallClock> clock;
  std::shared_ptr<Console> console;
  std::shared_ptr<ProgramExit> exit;
  /// The installation's configuration directory; the run log and the results database lie below it.
  std::filesystem::path config_directory;
};

/// The steady clock, the process's standard streams, and the process's end, which flushes logs and streams first.
std::shared_ptr<WallClock> real_clock();
std::shared_ptr<Console> real_console();
std::shared_ptr<ProgramExit> real_exit();

}  // namespace tessra
