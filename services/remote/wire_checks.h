#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "Tessra/base/value.h"
#include "services/service_report.h"

namespace tessra::remote {

struct WireCheckOptions {
  std::string scenario;  ///< to be played; empty: the first one the service names
  /// How much later than its lease says a room may be gone. None: leases are not checked, which takes a second or more.
  std::optional<std::chrono::milliseconds> lease_grace = std::chrono::milliseconds(2'000);
};

/// Makes calls on a service that the client of an engine never makes, or makes when something went wrong, and reports
/// what the contract (proto/tessra) wants otherwise. `section` names the service as an engine's section does, in
/// `server.url` and the files beside it. Throws `Error` if it cannot be used or does not know the scenario, and
/// `RemoteError` if nobody answers or the service refuses access.
void check_wire(const Dict& section, const WireCheckOptions& options, ServiceReport& report);

}  // namespace tessra::remote
