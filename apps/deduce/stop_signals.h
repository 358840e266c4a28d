#pragma once

#include <pthread.h>

#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

namespace tessra::app {

/// Handles Ctrl-C and SIGTERM during its lifetime. Both are blocked in the constructing thread and in threads started
/// later, including those of agents; one thread waits for them. Construct it before anything that starts threads.
///
/// The first signal calls the `on_signal` action. If this object still exists after the grace period, the process ends,
/// so an agent that never returns cannot block it. A second signal ends the process at once. In both cases the `on_end`
/// action is called first, and the status is 128 plus the signal's number.
class StopSignals {
 public:
  /// `grace` is the time in seconds in which the program may end regularly after a signal.
  explicit StopSignals(double grace = 0.8);
  ~StopSignals();
  StopSignals(const StopSignals&) = delete;
  StopSignals& operator=(const StopSignals&) = delete;

  /// Action for the first signal; called on the waiting thread, or immediately if a signal has already arrived.
  void on_signal(std::function<void()> action);
  /// Action just before the process is ended; called on the waiting thread while others may still run, so it must not
  /// wait for them.
  void on_end(std::function<void()> action);
  /// Whether a signal has arrived.
  bool received() const { return status() != 0; }
  /// 128 plus the signal's number; 0 before any signal.
  int status() const;

 private:
  void wait_for_signals();
  [[noreturn]] void end();

  const double grace_;
  sigset_t signals_{};
  sigset_t earlier_mask_{};
  mutable std::mutex mutex_;  // guards the four members below
  std::function<void()> action_;
  std::function<void()> last_action_;
  int signal_ = 0;
  bool ending_ = false;
  std::thread thread_;
};

}  // namespace tessra::app
