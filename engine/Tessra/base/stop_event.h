#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace tessra {

/// A stop signal shared between threads: set once, never cleared, waited on with a time limit.
class StopEvent {
 public:
  void set();
  bool is_set() const;
  /// Returns true as soon as the signal is set, false on timeout. `limit` is in seconds.
  bool wait_for(std::chrono::duration<double> limit) const;

 private:
  mutable std::mutex mutex_;
  mutable std::condition_variable changed_;
  bool set_ = false;
};

}  // namespace tessra
