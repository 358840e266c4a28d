#pragma once

#include <pthread.h>

#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

namespace tessra::app {

/// Takes Ctrl-C and SIGTERM for the program while it lives. Both are blocked in the thread that makes it and in those
/// started later, agents' included; one thread waits for them. Make it before anything that starts threads.
///
/// The first signal is kept and told to `on_signal`. When this object is still there after the grace period, the
/// process ends: an agent that never returns cannot hold it. A second signal ends it at once. Whichever way it ends,
/// `on_end` comes first and the status is 128 plus the signal's number.
class StopSignals {
 public:
  StopSignals();
  ~StopSignals();
  StopSignals(const StopSignals&) = delete;
  StopSignals& operator=(const StopSignals&) = delete;

  /// What to do at the first signal; called on the waiting thread, or at once when the signal has already come.
  void on_signal(std::function<void()> action);
  /// What to do just before the process is ended; called on the waiting thread, while others may still run. It must not
  /// wait for them.
  void on_end(std::function<void()> action);
  /// Whether a signal has come.
  bool received() const { return status() != 0; }
  /// 128 plus the signal's number; 0 when none has come.
  int status() const;

 private:
  void wait_for_signals();
  [[noreturn]] void end();

  sigset_t signals_{};
  sigset_t earlier_mask_{};
  mutable std::mutex mutex_;  // guards the four below
  std::function<void()> action_;
  std::function<void()> last_action_;
  int signal_ = 0;
  bool ending_ = false;
  std::thread thread_;
};

}  // namespace tessra::app
