#include "Tessra/entitys/gameenvs/gameserver.h"

#include <map>
#include <mutex>

#include "Tessra/entitys/gameenvs/embedded_server.h"
#include "Tessra/entitys/gameenvs/recorded_server.h"

namespace tessra {

namespace {

struct Backends {
  std::mutex mutex;
  std::map<std::string, GameServer::Factory, std::less<>> factories = {
      {"embedded", make_embedded_server},
      {"records", make_recorded_server},
  };
};

Backends& backends() {
  static Backends table;
  return table;
}

GameServer::Factory find_backend(const std::string& scheme) {
  Backends& table = backends();
  const std::lock_guard lock(table.mutex);
  const auto found = table.factories.find(scheme);
  if (found != table.factories.end()) return found->second;
  std::string known;
  for (const auto& [other, factory] : table.factories) known += (known.empty() ? "" : ", ") + other;
  throw Error("no service backend for the scheme '" + scheme + "' of server.url; there are: " + known);
}

}  // namespace

void GameServer::register_backend(std::string scheme, Factory factory) {
  Backends& table = backends();
  const std::lock_guard lock(table.mutex);
  table.factories.insert_or_assign(std::move(scheme), std::move(factory));
}

std::vector<std::string> GameServer::schemes() {
  Backends& table = backends();
  const std::lock_guard lock(table.mutex);
  std::vector<std::string> names;
  for (const auto& [scheme, factory] : table.factories) names.push_back(scheme);
  return names;
}

std::shared_ptr<GameServer> GameServer::create(const Dict& section) {
  const Dict& server = section.at_dict("server");
  const std::string url(server.contains("url") ? server.at_text("url") : "embedded:");
  const auto colon = url.find(':');
  if (colon == std::string::npos) throw Error("server.url has no scheme: '" + url + "'");
  auto client = find_backend(url.substr(0, colon))(section, std::string_view(url).substr(colon + 1));
  if (server.contains("record")) client = record_situations(std::move(client), section);
  return client;
}

}  // namespace tessra
