#include "apps/deduce/serve_command.h"

#include <filesystem>

#include "Tessra/base/stop_event.h"
#include "apps/deduce/configuration.h"
#include "apps/deduce/exit_status.h"
#include "apps/deduce/listening.h"
#include "apps/deduce/output.h"
#include "apps/deduce/stop_signals.h"

namespace tessra::app {

namespace {

/// Opens the backend once, so that a mistake is reported here and not to the first client.
void check_backend(const remote::MakeBackend& make_backend, const std::string& url) {
  try {
    const auto folder = scenario_folder(Dict{{"url", url}});
    if (folder && !std::filesystem::is_directory(*folder)) throw Error("no such folder");
    const std::shared_ptr<GameServer> backend = make_backend({});
    if (backend->connect_server().is_none()) throw Error("it cannot be reached");
    backend->get_scenarios();
  } catch (const Error& error) {
    throw InputError("--backend " + url + ": " + error.what());
  }
}

}  // namespace

int serve_simulation(const ServeOptions& options) {
  StopSignals signals(kServerGrace);
  StopEvent ending;
  signals.on_signal([&] { ending.set(); });
  if (options.exit_with_parent) end_with_parent();
  remote::RoomOptions rooms;
  rooms.make_backend = remote::backend_of(options.backend);
  rooms.limits.rooms = static_cast<std::size_t>(options.max_rooms);
  rooms.lease = std::chrono::seconds(options.lease);
  const auto host = start_host(options.listen, options.access, rooms);
  check_backend(rooms.make_backend, options.backend);
  host->set_ready();
  announce(*host, options.json);
  while (!ending.wait_for(std::chrono::hours(1))) {
  }
  host->stop(kCallGrace);
  return kPlayed;
}

}  // namespace tessra::app
