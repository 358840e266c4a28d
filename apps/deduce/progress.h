#pragma once

#include <cstdint>

namespace tessra::app {

/// One line on a terminal that is written over and over: episode, simulated time, steps per second. Writes nothing
/// when standard error is no terminal. Whoever writes something else clears it first.
class Progress {
 public:
  explicit Progress(bool wanted);
  ~Progress() { clear(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void start_episode(std::int64_t episode, std::int64_t episodes);
  /// `simulated` in seconds.
  void show(std::int64_t steps, double simulated);
  /// Takes the line away, so that something else can be written.
  void clear() const;

 private:
  bool active_;
  std::int64_t episode_ = 0, episodes_ = 0;
  double started_ = 0, shown_ = 0;
};

}  // namespace tessra::app
