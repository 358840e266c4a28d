#include "apps/deduce/findings.h"

#include <algorithm>

#include "Tessra/base/utf8.h"
#include "apps/deduce/output.h"
#include "apps/deduce/results.h"

namespace tessra::app {

void Findings::add(const std::string& text, double time_elapsed, const std::string& example) {
  const auto known = std::ranges::find(findings_, text, &Finding::text);
  if (known != findings_.end()) {
    ++known->times;
    return;
  }
  findings_.push_back({text, 1, situation_, time_elapsed, excerpt(example, 200)});
  say("  found at {}: {}\n", clock_text(time_elapsed), text);
}

void Findings::print_all() const {
  if (findings_.empty()) {
    say("\nno findings\n");
    return;
  }
  say("\n{} finding{}:\n", findings_.size(), findings_.size() == 1 ? "" : "s");
  for (const Finding& finding : findings_) {
    say("- {}\n  {} time{}, first in {}, at {}\n", finding.text, finding.times, finding.times == 1 ? "" : "s",
        finding.situation, clock_text(finding.time_elapsed));
    if (!finding.example.empty()) say("  for example {}\n", finding.example);
  }
}

}  // namespace tessra::app
