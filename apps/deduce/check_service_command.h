#pragma once

#include <string>

namespace tessra::app {

struct CheckServiceOptions {
  std::string url;
  std::string scenario;  ///< empty: the first one the service names
  // Files, empty for none: the token to send, the authority to trust, the certificate to show and its key.
  std::string token_file;
  std::string ca_file;
  std::string cert_file;
  std::string key_file;
};

/// Checks a service in another process: single calls against the contract, then episodes as an engine plays them.
/// Prints what the service does wrong. Returns 0 if there are no findings, 1 otherwise. Throws `InputError` for an
/// address or a file that cannot be used, an unknown scenario, and when nobody answers there or access is refused.
int check_remote_service(const CheckServiceOptions& options);

}  // namespace tessra::app
