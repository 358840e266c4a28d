#pragma once

#include <chrono>
#include <string>

#include "services/remote/wire_calls.h"

// The groups of checks of a service. Each throws `GivenUp` when it cannot go on.

namespace tessra::remote {

/// Versions, and what a server says about itself.
void check_handshake(WireCalls& calls);

/// Calls without the bearer token that the server asks for, or with another one.
void check_bearer_token(const Address& address, ClientAccess access, ServiceReport& report);

/// Who may use a room, and how long there is one.
void check_rooms(WireCalls& calls);
void check_lease(WireCalls& calls, std::chrono::milliseconds grace);

/// The scenario to play: the wanted one, or the first that the service names. Throws `Error` for a wanted one that it
/// does not name, though it names others.
std::string choose_scenario(WireCalls& calls, const std::string& wanted);

/// Calls that do not fit the state of a room.
void check_states(WireCalls& calls, const std::string& scenario);

/// Calls that are sent again, and calls that come too early or too late.
void check_numbers(WireCalls& calls, const std::string& scenario);

/// What records are written like, and whether an episode can be played again.
void check_records(WireCalls& calls, const std::string& scenario);

/// Orders that mean nothing, and an end in the middle.
void check_orders(WireCalls& calls, const std::string& scenario);

}  // namespace tessra::remote
