#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "Tessra/base/error.h"
#include "Tessra/base/seams.h"
#include "support/scratch_folder.h"

namespace tessra::testing {

/// A clock that only waiting moves.
class FakeClock : public WallClock {
 public:
  double now() const override { return seconds; }
  void wait(double duration, const StopEvent* /*stop*/ = nullptr) override {
    seconds += duration;
    waits.push_back(duration);
  }
  double seconds = 1000;
  std::vector<double> waits;
};

/// Keeps what is printed.
class FakeConsole : public Console {
 public:
  void print(std::string_view text) override { printed.emplace_back(text); }
  void print_error(std::string_view text) override { errors.emplace_back(text); }
  std::vector<std::string> printed;
  std::vector<std::string> errors;
};

/// Ends nothing but the call stack.
class FakeExit : public ProgramExit {
 public:
  [[noreturn]] void end(int status) override {
    ++ends;
    throw ProgramEnd{status};
  }
  int ends = 0;
};

/// Replaceable surroundings with a hand on each.
struct FakeSeams {
  std::shared_ptr<FakeClock> clock = std::make_shared<FakeClock>();
  std::shared_ptr<FakeConsole> console = std::make_shared<FakeConsole>();
  std::shared_ptr<FakeExit> exit = std::make_shared<FakeExit>();
  std::shared_ptr<ScratchFolder> scratch = std::make_shared<ScratchFolder>();
  std::filesystem::path config_directory = scratch->path();

  Seams seams() const { return {clock, console, exit, config_directory}; }
};

}  // namespace tessra::testing
