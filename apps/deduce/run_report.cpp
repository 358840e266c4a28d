#include "apps/deduce/run_report.h"

#include <fmt/format.h>
#include <unistd.h>

#include <chrono>

#include "apps/deduce/output.h"

namespace tessra::app {

void RunReport::add(const PlayedEpisode& episode) {
  const std::lock_guard lock(mutex_);
  ++played_;
  const std::string_view winner = winner_of(episode.result);
  red_ += winner == "red" ? 1 : 0;
  blue_ += winner == "blue" ? 1 : 0;
  orders_refused_ += episode.orders_refused;
  calls_failed_ += episode.calls_failed;
  if (!form_.json && form_.quiet) return;

  std::string text = form_.json ? json_line(episode) + "\n" : table_row(episode);
  if (has_table() && played_ == 1) text = table_head(episode.result) + text;
  progress_.clear();
  writable_ = false;  // stays so if the write throws
  say_text(text);
  writable_ = true;
}

void RunReport::end(bool stopped) {
  const std::lock_guard lock(mutex_);
  if (std::exchange(ended_, true)) return;
  progress_.clear();
  if (stopped) tell_text(stopped_line());
  if (has_table() && writable_) say_text(sums());
}

void RunReport::end_without_waiting() {
  // A thread that holds the lock for longer is blocked writing standard output.
  const std::unique_lock lock(mutex_, std::chrono::milliseconds(100));
  if (!lock || std::exchange(ended_, true)) return;
  if (has_table() && writable_) write_if_ready(STDOUT_FILENO, sums());
  write_if_ready(STDERR_FILENO, stopped_line());
}

std::string RunReport::sums() const {
  if (played_ == 0) return "no episode was played to its end\n";  // nothing above it either: no blank line
  std::string text = fmt::format("\nred won {}, blue won {} of {}\n", red_, blue_, played_);
  const std::string place =
      form_.log.empty() ? "play with --log FILE to read which and why" : "see the run log " + form_.log;
  if (orders_refused_ > 0) text += fmt::format("{} orders were refused; {}\n", orders_refused_, place);
  if (calls_failed_ > 0) text += fmt::format("{} calls into agents failed; {}\n", calls_failed_, place);
  return text;
}

std::string RunReport::stopped_line() const { return fmt::format("stopped after {} of {}\n", played_, form_.episodes); }

}  // namespace tessra::app
