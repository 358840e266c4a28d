#include "services/remote/address.h"

#include <fmt/format.h>

#include <charconv>

#include "Tessra/base/error.h"

namespace tessra::remote {

namespace {

constexpr std::string_view kUnix = "unix:";

[[noreturn]] void refuse(std::string_view text, std::string_view wanted) {
  throw Error(fmt::format("'{}' is no address: it must be {}", text, wanted));
}

/// Brackets stand around an IPv6 address.
bool is_loopback(std::string_view host) {
  return host == "localhost" || host == "[::1]" ||
         (host.starts_with("127.") && host.find_first_not_of("0123456789.") == std::string_view::npos);
}

bool is_port(std::string_view text) {
  int port = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
  return error == std::errc() && end == text.data() + text.size() && port >= 0 && port <= 65'535;
}

/// Fills target and `local`; false if the text is not a host and a port.
bool read_host(std::string_view text, Address& address) {
  const auto colon = text.rfind(':');
  if (colon == std::string_view::npos || colon == 0 || !is_port(text.substr(colon + 1))) return false;
  const std::string_view host = text.substr(0, colon);
  const bool bracketed = host.front() == '[' && host.back() == ']';
  if (host.find_first_of("/ @") != std::string_view::npos || (!bracketed && host.find(':') != std::string_view::npos)) {
    return false;
  }
  address.target = text;
  address.local = is_loopback(host);
  return true;
}

}  // namespace

std::string Address::url() const {
  if (target.starts_with(kUnix)) return "grpc+" + target;
  return (tls ? "grpcs://" : "grpc://") + target;
}

Address read_url(std::string_view url) {
  constexpr std::string_view kWanted = "grpc://host:port, grpcs://host:port or grpc+unix:path";
  Address address;
  if (url.starts_with("grpc+unix:")) {
    address.target = url.substr(5);
    address.local = true;
    if (address.target == kUnix) refuse(url, kWanted);
    return address;
  }
  address.tls = url.starts_with("grpcs://");
  if (!address.tls && !url.starts_with("grpc://")) refuse(url, kWanted);
  if (!read_host(url.substr(url.find("//") + 2), address)) refuse(url, kWanted);
  return address;
}

Address read_listen_address(std::string_view text, bool tls) {
  Address address;
  address.tls = tls;
  if (text.starts_with(kUnix) && text != kUnix) {
    address.target = text;
    address.tls = false;
    address.local = true;
    return address;
  }
  if (!read_host(text, address)) refuse(text, "host:port or unix:path");
  return address;
}

}  // namespace tessra::remote
