#pragma once

#include <cstdint>

namespace tessra::app {

/// A progress line that is overwritten in place: episode, simulated time, steps per second. Writes nothing if standard
/// error is not a terminal. Call `clear` before writing anything else.
class Progress {
 public:
  explicit Progress(bool wanted);
  ~Progress() { clear(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void start_episode(std::int64_t episode, std::int64_t episodes);
  /// `simulated` in seconds.
  void show(std::int64_t steps, double simulated);
  /// Erases the line.
  void clear() const;

 private:
  bool active_;
  std::int64_t episode_ = 0, episodes_ = 0;
  double started_ = 0, shown_ = 0;
};

}  // namespace tessra::app
