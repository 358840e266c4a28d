#include <utility>
#include <vector>

#include "Tessra/base/value.h"

namespace tessra {

namespace {

/// Values of containers that were nested too deep to end at once. Made when the first one comes.
using Later = std::vector<Values>;
[[gnu::tls_model("initial-exec")]] thread_local constinit Later* later = nullptr;
[[gnu::tls_model("initial-exec")]] thread_local constinit int depth = 0;

}  // namespace

void end_values(Values&& values) noexcept {
  constexpr int kDirect = 100;
  if (depth == kDirect) {
    // Out of memory here ends the program, as everywhere.  NOLINTNEXTLINE(bugprone-unhandled-exception-at-new)
    if (later == nullptr) later = new Later;
    later->push_back(std::move(values));
    return;
  }
  ++depth;
  { [[maybe_unused]] const Values gone = std::move(values); }
  --depth;
  if (depth > 0 || later == nullptr) return;
  ++depth;
  while (!later->empty()) {
    [[maybe_unused]] const Values next = std::move(later->back());
    later->pop_back();
  }
  --depth;
  delete std::exchange(later, nullptr);
}

}  // namespace tessra
