#include "apps/deduce/findings.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>

#include "apps/deduce/results.h"
#include "apps/deduce/shortened.h"

namespace tessra::app {

void Findings::add(const std::string& text, double time_elapsed, const std::string& example) {
  const auto known = std::ranges::find(findings_, text, &Finding::text);
  if (known != findings_.end()) {
    ++known->times;
    return;
  }
  findings_.push_back({text, 1, situation_, time_elapsed, shortened(example, 200)});
  fmt::print("  found at {}: {}\n", clock_text(time_elapsed), text);
  std::fflush(stdout);
}

void Findings::print_all() const {
  if (findings_.empty()) {
    fmt::print("\nnothing to say against it\n");
    return;
  }
  fmt::print("\n{} finding{}:\n", findings_.size(), findings_.size() == 1 ? "" : "s");
  for (const Finding& finding : findings_) {
    fmt::print("- {}\n  {} time{}, first in {}, at {}\n", finding.text, finding.times, finding.times == 1 ? "" : "s",
               finding.situation, clock_text(finding.time_elapsed));
    if (!finding.example.empty()) fmt::print("  for example {}\n", finding.example);
  }
}

}  // namespace tessra::app
