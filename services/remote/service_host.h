#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "services/remote/address.h"
#include "services/remote/room_options.h"

namespace tessra::remote {

/// Rooms that play on the backend of this URL, which is opened as `server.url` of a configuration.
MakeBackend backend_of(const std::string& url);

/// What a server shows and asks for. Texts of PEM files, not their names.
struct ServerAccess {
  std::string certificate = {};
  std::string key = {};
  std::string client_authority = {};  ///< clients need a certificate signed by it
  std::string token = {};             ///< clients must send it
};

/// Offers service clients of this process to clients of other processes, on threads of its own.
class ServiceHost {
 public:
  /// Opens the port; calls are answered once `set_ready` was called. Throws `Error` if the address would be open to the
  /// network without a certificate or without asking for a token or a client certificate, and `SurroundingsError` if it
  /// cannot be listened on.
  ServiceHost(const Address& listen, const ServerAccess& access, RoomOptions rooms);
  ~ServiceHost();
  ServiceHost(const ServiceHost&) = delete;
  ServiceHost& operator=(const ServiceHost&) = delete;

  /// Where it listens, with the real port.
  Address address() const;

  void set_ready();

  /// Takes no more calls, tells attached agents, and lets running calls finish. False if one did not within `grace`:
  /// then this takes as long as that call, since the transport waits for it, and whoever cannot wait ends the process.
  bool stop(std::chrono::milliseconds grace);

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace tessra::remote
