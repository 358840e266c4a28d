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

/// Nothing can be played without a scenario.
void check_episodes(WireCalls& calls, const std::string& wanted) {
  ServiceReport& report = calls.report();
  std::string scenario;
  if (!report.run("the names of scenarios", [&] { scenario = choose_scenario(calls, wanted); })) return;
  report.run("the states of a room", [&] { check_states(calls, scenario); });
  report.run("numbers of calls", [&] { check_numbers(calls, scenario); });
  report.run("records", [&] { check_records(calls, scenario); });
  report.run("orders, and an end in the middle", [&] { check_orders(calls, scenario); });
}

}  // namespace

void check_wire(const Dict& section, const WireCheckOptions& options, ServiceReport& report) {
  const RemoteSettings settings = read_remote_settings(section, read_url(section.at_dict("server").at_text("url")));
  Transport transport(settings.address, settings.access);
  find_service(transport);
  WireCalls calls(transport, report);
  report.run("the handshake", [&] { check_handshake(calls); });
  if (!settings.access.token.empty()) {
    report.run("the bearer token", [&] { check_bearer_token(settings.address, settings.access, report); });
  }
  report.run("rooms", [&] { check_rooms(calls); });
  check_episodes(calls, options.scenario);
  if (options.lease_grace) report.run("a lease", [&] { check_lease(calls, *options.lease_grace); });
}

}  // namespace tessra::remote
