#pragma once

#include <chrono>
#include <memory>

#include "apps/deduce/serve_command.h"
#include "services/remote/service_host.h"

namespace tessra::app {

/// Seconds in which a server ends after a signal, and the part of it that running calls get.
inline constexpr double kServerGrace = 1.8;
inline constexpr std::chrono::milliseconds kCallGrace{1'500};

/// Listens on an address with these files. Throws `InputError` for an address or file that cannot be used, and
/// `SurroundingsError` if the address cannot be listened on.
std::unique_ptr<remote::ServiceHost> start_host(const std::string& listen, const AccessOptions& access,
                                                remote::RoomOptions rooms);

/// Prints where the host listens, as one line of text or of JSON.
void announce(const remote::ServiceHost& host, bool json);

/// Sends this process SIGTERM when the process that started it ends.
void end_with_parent();

}  // namespace tessra::app
