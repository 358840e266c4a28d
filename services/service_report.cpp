#include "services/service_report.h"

#include <fmt/format.h>

#include <algorithm>
#include <ostream>

#include "Tessra/base/utf8.h"

namespace tessra {

std::string ServiceFinding::text() const { return fmt::format("`{}`: wanted {}, came {}", call, wanted, came); }

std::ostream& operator<<(std::ostream& out, const ServiceFinding& finding) { return out << finding.text(); }

void ServiceReport::tell(const std::string& line) const {
  if (tell_) tell_(line);
}

void ServiceReport::enter(const std::string& group) {
  group_ = group;
  tell("checking " + group);
}

void ServiceReport::find(const std::string& call, const std::string& wanted, const std::string& came) {
  const auto known = std::ranges::find_if(
      findings_, [&](const ServiceFinding& finding) { return finding.call == call && finding.wanted == wanted; });
  if (known != findings_.end()) {
    ++known->times;
    return;
  }
  constexpr std::size_t kMostShown = 300;  // a service may answer anything
  findings_.push_back({call, wanted, excerpt(came, kMostShown), group_});
  tell("  found: " + findings_.back().text());
}

void ServiceReport::note(const std::string& text) {
  if (std::ranges::find(notes_, text) != notes_.end()) return;
  notes_.push_back(text);
  tell("  note: " + text);
}

}  // namespace tessra
