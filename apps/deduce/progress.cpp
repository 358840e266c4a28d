#include "apps/deduce/progress.h"

#include <unistd.h>

#include "Tessra/base/seams.h"
#include "apps/deduce/output.h"
#include "apps/deduce/results.h"

namespace tessra::app {

namespace {

double now() {
  static const auto clock = real_clock();
  return clock->now();
}

}  // namespace

Progress::Progress(bool wanted) : active_(wanted && ::isatty(STDERR_FILENO) != 0) {}

void Progress::start_episode(std::int64_t episode, std::int64_t episodes) {
  episode_ = episode;
  episodes_ = episodes;
  started_ = now();
  shown_ = 0;
}

void Progress::show(std::int64_t steps, double simulated) {
  constexpr double kEvery = 0.1;  // wall-clock seconds
  if (!active_ || now() - shown_ < kEvery) return;
  shown_ = now();
  tell("\r\x1b[Kepisode {}/{}  {}  {:.0f} steps/s", episode_, episodes_, clock_text(simulated),
       static_cast<double>(steps) / (shown_ - started_ + 1e-9));
}

void Progress::clear() const {
  if (!active_) return;
  tell_text("\r\x1b[K");
}

}  // namespace tessra::app
