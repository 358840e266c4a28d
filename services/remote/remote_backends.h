#pragma once

#include <functional>
#include <string>

#include "Tessra/entitys/gameenvs/gameserver.h"

namespace tessra::remote {

/// Registers the backends "grpc:", "grpcs:" and "grpc+unix:" with the service client. Call it once, before an engine
/// with such a `server.url` is made. It starts nothing and opens no connection: that happens when the engine connects,
/// so a host may fork in between.
///
/// They read of the section, besides `server.url`: `server.seed` and `server.first_episode` (default 1),
/// `simulate.decision_interval`, `server.token_file`, `server.ca_file`, `server.cert_file`, `server.key_file`,
/// `server.lease` (seconds), and in AI-apply mode `player.player_side`. docs/remote.md describes them.
void register_remote_backends();

/// Throws `Error` if the section names a remote service with settings that cannot be used: a bad address, a token file
/// that is not there. Does nothing for other services.
void check_remote_settings(const Dict& section);

/// What a host may ask of a remote client beyond the operations of a service client.
class RemoteControl {
 public:
  virtual ~RemoteControl() = default;

  /// Why the engine's `reset` answered 0 or -1; empty if it did not.
  virtual std::string last_failure() const = 0;
  /// `tell` is called on the engine's thread when the link breaks for longer than a moment, and when it is back, with a
  /// line for people.
  virtual void watch_link(std::function<void(const std::string& what)> tell) = 0;
  /// In AI-apply mode: how many decisions the scheduling client was told of.
  virtual std::int64_t decisions() const = 0;
  /// In AI-apply mode: sets the engine's stop signal, and the next record says "Crash". Safe from any thread.
  virtual void stop() = 0;
};

/// The control of a remote client, which may be wrapped in others; null for other clients. Belongs to the client.
RemoteControl* remote_control(GameServer& client);

}  // namespace tessra::remote
