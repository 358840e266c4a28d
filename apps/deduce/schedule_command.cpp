// One agent at a time, in a room of its own; this thread watches the settings file and the signals.

#include "apps/deduce/schedule_command.h"

#include "Tessra/base/stop_event.h"
#include "apps/deduce/configuration.h"
#include "apps/deduce/configuration_checks.h"
#include "apps/deduce/exit_status.h"
#include "apps/deduce/listening.h"
#include "apps/deduce/output.h"
#include "apps/deduce/scheduled_side.h"
#include "apps/deduce/stop_signals.h"

namespace tessra::app {

namespace {

remote::RoomOptions rooms_for(ScheduledSide& side, std::int64_t lease) {
  remote::RoomOptions rooms;
  rooms.make_backend = [&side](const remote::RoomPlan&) { return side.open(); };
  rooms.limits.rooms = 1;
  rooms.lease = std::chrono::seconds(lease);
  rooms.agent_side = side.side();
  rooms.on_open = [&side] { side.tell_opened(); };
  rooms.on_end = [&side](const std::string& why) { side.tell_ended(why); };
  return rooms;
}

}  // namespace

int schedule_agents(const ScheduleOptions& options) {
  StopSignals signals(kServerGrace);
  StopEvent ending;
  signals.on_signal([&] { ending.set(); });
  if (options.exit_with_parent) end_with_parent();
  ApplyOptions apply;
  apply.config = options.config;
  apply.seed = options.seed;
  const Dict config = apply_configuration(apply);
  for (const std::string& line : configuration_warnings(config)) tell("warning: {}\n", line);
  ScheduledSide side(config, options.settings, options.json);
  const auto host = start_host(options.listen, options.access, rooms_for(side, options.lease));
  host->set_ready();
  announce(*host, options.json);
  while (!ending.wait_for(std::chrono::milliseconds(200)) && !(options.once && side.rounds().ended > 0)) {
    side.follow_settings();
  }
  side.stop();
  // The agent's process hears of it, and gets the time to finish its call.
  host->stop(kCallGrace);
  const bool failed = options.once && !signals.received() && !side.rounds().last_was_complete;
  return failed ? kFailed : kPlayed;
}

}  // namespace tessra::app
