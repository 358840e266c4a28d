#include "Tessra/base/seams.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>
#include <thread>

#include "Tessra/base/stop_event.h"

namespace tessra {

namespace {

class SteadyClock : public WallClock {
 public:
  double now() const override {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
  }
  void wait(double seconds, const StopEvent* stop) override {
    const std::chrono::duration<double> duration(seconds);
    if (stop != nullptr) {
      stop->wait_for(duration);
    } else {
      std::this_thread::sleep_for(duration);
    }
  }
};

class StandardStreams : public Console {
 public:
  void print(std::string_view text) override { write(std::cout, text); }
  void print_error(std::string_view text) override { write(std::cerr, text); }

 private:
  // A single write, so that lines of several engines do not interleave.
  static void write(std::ostream& stream, std::string_view text) { stream << std::string(text) + "\n" << std::flush; }
};

class ProcessExit : public ProgramExit {
 public:
  [[noreturn]] void end(int status) override {
    // Run logs flush every line, but the streams may be buffered. `_Exit` instead of `exit`: other threads may still
    // run, so statics must not be destroyed under them.
    std::cout.flush();
    std::cerr.flush();
    std::fflush(nullptr);
    std::_Exit(status);
  }
};

}  // namespace

std::shared_ptr<WallClock> real_clock() { return std::make_shared<SteadyClock>(); }
std::shared_ptr<Console> real_console() { return std::make_shared<StandardStreams>(); }
std::shared_ptr<ProgramExit> real_exit() { return std::make_shared<ProcessExit>(); }

}  // namespace tessra
