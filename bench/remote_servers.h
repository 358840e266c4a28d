#pragma once

// The servers that bench/remote calls, in a process of their own: so client and server share neither threads nor
// memory.

#include <sys/types.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "services/remote/service_host.h"

namespace tessra::bench {

/// Records as they travel, in the order of an episode.
using Records = std::vector<std::string>;

/// By name: "strait", the updates of the shipped scenario with nobody giving orders; "updates" of a generated situation
/// with so many units, and its "initial" record.
std::map<std::string, Records> all_records(int units);

/// Where the servers listen, as "host:port".
struct Servers {
  std::string prepared;  ///< rooms whose scenarios have the names of the records, and hand them out
  /// By name of the records: answers `Advance` with the next, after being busy for the request's timestamp in
  /// microseconds, and does nothing else.
  std::map<std::string, std::string> echo;
};

/// Rooms of this process on any port.
std::unique_ptr<remote::ServiceHost> start_host(remote::MakeBackend make_backend);

/// Starts them in a child process.
class ServerProcess {
 public:
  /// Runs `program --serve --units N`. Throws `Error` if it does not come up.
  ServerProcess(const std::string& program, int units);
  /// Ends it.
  ~ServerProcess();
  ServerProcess(const ServerProcess&) = delete;
  ServerProcess& operator=(const ServerProcess&) = delete;

  const Servers& servers() const { return servers_; }

 private:
  int socket_ = -1;
  pid_t child_ = -1;
  Servers servers_;
};

/// The child's part: serves until its standard input ends, after a line with the addresses on standard output.
void serve(int units);

}  // namespace tessra::bench
