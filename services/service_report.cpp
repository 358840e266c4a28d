#include "services/service_report.h"

#include <fmt/format.h>

#include <algorithm>
#include <ostream>

#include "Tessra/base/guard.h"
#include "Tessra/base/utf8.h"

namespace tessra {

std::string ServiceFinding::text() const { return fmt::format("`{}`: wanted {}, came {}", call, wanted, came); }

std::ostream& operator<<(std::ostream& out, const ServiceFinding& finding) { return out << finding.text(); }

void ServiceReport::tell(const std::string& line) const {
  if (tell_) tell_(line);
}

bool ServiceReport::run(const std::string& group, const std::function<void()>& checks) {
  group_ = group;
  tell("checking " + group);
  try {
    checks();
    return true;
  } catch (const GivenUp&) {
    return false;
  }
}

void ServiceReport::attempt(const std::string& call, const std::function<void()>& make) {
  const bool returned = guarded(
      make, [&](const std::exception_ptr& error) { find(call, "an answer", "an error: " + error_text(error)); });
  if (!returned) throw GivenUp();
}

void ServiceReport::want(bool holds, const std::string& call, const std::string& wanted, const std::string& came) {
  if (!holds) find(call, wanted, came);
}

void ServiceReport::need(bool holds, const std::string& call, const std::string& wanted, const std::string& came) {
  want(holds, call, wanted, came);
  if (!holds) throw GivenUp();
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
