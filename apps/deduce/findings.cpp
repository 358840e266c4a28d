#include "apps/deduce/findings.h"

#include <algorithm>

namespace tessra::app {

void Findings::add(const std::string& text, double time_elapsed, const std::string& example) {
  const auto known = std::ranges::find(findings_, text, &Finding::text);
  if (known != findings_.end()) {
    ++known->times;
  } else {
    findings_.push_back({text, 1, situation_, time_elapsed, example});
  }
}

}  // namespace tessra::app
