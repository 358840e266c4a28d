#pragma once

#include <string>
#include <string_view>

namespace tessra::remote {

/// Where a service is reached or listens.
struct Address {
  std::string target;  ///< as gRPC takes it: "host:port" or "unix:path"
  bool tls = false;
  bool local = false;  ///< loopback or a Unix socket: nobody on the network can listen

  /// "grpc://host:port", "grpcs://host:port" or "grpc+unix:path".
  std::string url() const;
};

/// Reads what stands in `server.url`, in the forms of `Address::url`. Throws `Error` naming the URL and what is wrong.
Address read_url(std::string_view url);

/// Reads an address to listen on: "host:port", where port 0 means any free one, or "unix:path". Throws `Error`.
Address read_listen_address(std::string_view text, bool tls);

}  // namespace tessra::remote
