#pragma once

#include <cstdint>
#include <mutex>
#include <string>

#include "apps/deduce/progress.h"
#include "apps/deduce/results.h"

namespace tessra::app {

/// What a run says of its episodes on standard output: each as it is finished, a table row or a JSON line; below the
/// table who won how often, and what went wrong on the way.
class RunReport {
 public:
  struct Form {
    bool json = false;
    bool quiet = false;     ///< neither table nor sums
    std::string log;        ///< where refusals and failures can be read; empty when nowhere
    std::int64_t episodes;  ///< how many are to be played
  };
  RunReport(Form form, const Progress& progress) : form_(std::move(form)), progress_(progress) {}

  /// Throws `SurroundingsError` when standard output cannot be written; it is then left alone from there on.
  void add(const PlayedEpisode& episode);
  /// Below the last episode. `stopped`: a signal came before all were played.
  void end(bool stopped);
  /// The same from another thread when the one that plays does not come back: says what can be said without waiting.
  void end_without_waiting();

 private:
  bool has_table() const { return !form_.json && !form_.quiet; }
  std::string sums() const;
  std::string stopped_line() const;

  const Form form_;
  const Progress& progress_;
  std::timed_mutex mutex_;  // guards everything below, and standard output while an episode is written
  bool writable_ = true;
  bool ended_ = false;
  std::int64_t played_ = 0, red_ = 0, blue_ = 0;
  std::int64_t orders_refused_ = 0, calls_failed_ = 0;
};

}  // namespace tessra::app
