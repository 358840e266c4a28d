#include "Tessra/entitys/gameenvs/gameserver.h"

#include <map>
#include <mutex>

namespace tessra {

namespace {

struct Backends {
  std::mutex mutex;
  std::map<std::string, GameServer::Factory> factories;
  std::map<std::string, GameServer::Layer> layers;
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

std::map<std::string, GameServer::Layer> all_layers() {
  Backends& table = backends();
  const std::lock_guard lock(table.mutex);
  return table.layers;
}

}  // namespace

void GameServer::register_backend(std::string scheme, Factory factory) {
  Backends& table = backends();
  const std::lock_guard lock(table.mutex);
  table.factories.insert_or_assign(std::move(scheme), std::move(factory));
}

void GameServer::register_layer(std::string key, Layer layer) {
  Backends& table = backends();
  const std::lock_guard lock(table.mutex);
  table.layers.insert_or_assign(std::move(key), std::move(layer));
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
  for (const auto& [key, layer] : all_layers()) {
    if (server.contains(key)) client = layer(std::move(client), section);
  }
  return client;
}

}  // namespace tessra
