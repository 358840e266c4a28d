#include "services/remote/remote_backends.h"

#include <fmt/format.h>

#include <algorithm>

#include "services/forwarding_server.h"
#include "services/remote/remote_server.h"
#include "services/remote/secrets.h"
#include "services/remote/unseen_camps.h"

namespace tessra::remote {

namespace {

/// The value of a key of `server`, or a default.
std::int64_t number_or(const Dict& server, const char* key, std::int64_t otherwise) {
  return server.contains(key) ? server.at_integer(key) : otherwise;
}

std::string pem_or_nothing(const Dict& server, const char* key) {
  return server.contains(key) ? read_pem(std::string(server.at_text(key))) : "";
}

ClientAccess read_access(const Dict& server, const Address& address) {
  if (!address.tls) {
    for (const char* key : {"ca_file", "cert_file", "key_file"}) {
      if (server.contains(key)) throw Error(fmt::format("server.{} needs grpcs://, not {}", key, address.url()));
    }
  }
  ClientAccess access;
  if (server.contains("token_file")) access.token = read_token(std::string(server.at_text("token_file")));
  access.trusted = pem_or_nothing(server, "ca_file");
  access.certificate = pem_or_nothing(server, "cert_file");
  access.key = pem_or_nothing(server, "key_file");
  if (access.certificate.empty() != access.key.empty()) {
    throw Error("server.cert_file and server.key_file belong together");
  }
  return access;
}

}  // namespace

RemoteSettings read_remote_settings(const Dict& section, const Address& address) {
  const Dict& server = section.at_dict("server");
  RemoteSettings settings;
  settings.address = address;
  settings.access = read_access(server, address);
  settings.seed = number_or(server, "seed", 1);
  settings.first_episode = static_cast<std::uint64_t>(number_or(server, "first_episode", 1));
  const std::int64_t lease = number_or(server, "lease", 0);
  if (lease < 0 || lease > 86'400) throw Error(fmt::format("server.lease must be 1 to 86400 seconds, is {}", lease));
  settings.lease = static_cast<std::uint32_t>(lease);
  const Dict* simulate = section.find_dict("simulate");
  const Value* interval = simulate != nullptr ? simulate->find("decision_interval") : nullptr;
  if (interval != nullptr) settings.step_interval = interval->as_real();
  settings.is_ai_apply = section.non_empty("is_ai_apply");
  if (settings.is_ai_apply) {
    settings.side = section.at_dict("player").at("player_side").to_text();
    settings.camps = camps_of(section);
  }
  return settings;
}

namespace {

constexpr const char* kSchemes[] = {"grpc", "grpcs", "grpc+unix"};

}  // namespace

void check_remote_settings(const Dict& section) {
  const Dict& server = section.at_dict("server");
  if (!server.contains("url")) return;
  const std::string url(server.at_text("url"));
  const bool is_remote = std::ranges::any_of(kSchemes, [&](std::string_view scheme) {
    return url.starts_with(scheme) && url.substr(scheme.size()).starts_with(':');
  });
  if (is_remote) read_remote_settings(section, read_url(url));
}

RemoteControl* remote_control(GameServer& client) { return find_client<RemoteServer>(client); }

void register_remote_backends() {
  for (const std::string scheme : kSchemes) {
    GameServer::register_backend(scheme, [scheme](const Dict& section, std::string_view address) {
      return std::make_shared<RemoteServer>(
          read_remote_settings(section, read_url(scheme + ":" + std::string(address))));
    });
  }
}

}  // namespace tessra::remote
