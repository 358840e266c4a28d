#include "services/remote/wire_checks.h"

#include "services/remote/remote_error.h"
#include "services/remote/remote_server.h"
#include "services/remote/wire_check_groups.h"

namespace tessra::remote {

namespace {

/// Waits for the service as a client does. What is wrong with its answer is for the checks to say.
void find_service(Transport& transport) {
  using Reason = RemoteError::Reason;
  try {
    RoomLink(transport).hello();
  } catch (const RemoteError& error) {
    if (error.reason == Reason::unreachable || error.reason == Reason::refused_token) throw;
  }
}

template <class Checks>
void run_group(ServiceReport& report, const std::string& name, Checks&& checks) {
  report.enter(name);
  try {
    checks();
  } catch (const GivenUp&) {
    return;  // it is in the report
  }
}

}  // namespace

void check_wire(const Dict& section, const WireCheckOptions& options, ServiceReport& report) {
  const RemoteSettings settings = read_remote_settings(section, read_url(section.at_dict("server").at_text("url")));
  Transport transport(settings.address, settings.access);
  find_service(transport);
  WireCalls calls(transport, report);
  std::string scenario = options.scenario;
  run_group(report, "the handshake", [&] { check_handshake(calls); });
  if (!settings.access.token.empty()) {
    run_group(report, "the bearer token", [&] { check_bearer_token(settings.address, settings.access, report); });
  }
  run_group(report, "rooms", [&] { check_rooms(calls); });
  run_group(report, "the states of a room", [&] { check_states(calls, scenario); });
  run_group(report, "numbers of calls", [&] { check_numbers(calls, scenario); });
  run_group(report, "records", [&] { check_records(calls, scenario); });
  run_group(report, "orders, and an end in the middle", [&] { check_orders(calls, scenario); });
  if (options.lease_grace) run_group(report, "a lease", [&] { check_lease(calls, *options.lease_grace); });
}

}  // namespace tessra::remote
