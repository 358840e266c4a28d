#pragma once

#include <cstdint>
#include <mutex>
#include <string>

#include "apps/deduce/progress.h"
#include "apps/deduce/results.h"

namespace tessra::app {

/// The output of a run on standard output: each episode as it is finished, as a table row or a JSON line; below the
/// table the wins of each camp, refused orders and failed calls.
class RunReport {
 public:
  struct Form {
    bool json = false;
    bool quiet = false;     ///< neither table nor totals
    std::string log;        ///< file with refusals and failures; empty for none
    std::int64_t episodes;  ///< number of episodes to play
  };
  RunReport(Form form, const Progress& progress) : form_(std::move(form)), progress_(progress) {}

  /// Throws `SurroundingsError` if standard output cannot be written; the table is not continued then.
  void add(const PlayedEpisode& episode);
  /// Prints the totals. `stopped`: a signal came before all episodes were played.
  void end(bool stopped);
  /// The same from another thread, when the playing thread does not return: prints what it can without blocking.
  void end_without_waiting();

 private:
  bool has_table() const { return !form_.json && !form_.quiet; }
  std::string sums() const;
  std::string stopped_line() const;

  const Form form_;
  const Progress& progress_;
  std::timed_mutex mutex_;  // guards the members below, and standard output while an episode is written
  bool writable_ = true;
  bool ended_ = false;
  std::int64_t played_ = 0, red_ = 0, blue_ = 0;
  std::int64_t orders_refused_ = 0, calls_failed_ = 0;
};

}  // namespace tessra::app
