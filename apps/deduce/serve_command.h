#pragma once

#include <cstdint>
#include <string>

namespace tessra::app {

/// Files that say who may connect to a server.
struct AccessOptions {
  std::string certificate;
  std::string key;
  std::string client_authority;
  std::string token_file;
};

struct ServeOptions {
  std::string listen = "127.0.0.1:7700";
  std::string backend = "embedded:";
  std::int64_t max_rooms = 64;
  std::int64_t lease = 120;  ///< seconds
  AccessOptions access;
  bool exit_with_parent = false;
  bool json = false;
};

/// Offers a simulation to other processes until a signal arrives. Returns the exit status: 0 when every running call
/// could end, otherwise 128 plus the signal number. Throws `InputError`.
int serve_simulation(const ServeOptions& options);

}  // namespace tessra::app
