// Checks a configuration against the table of keys, so that a mistake is reported with its place before anything is
// played instead of as an error deep in the engine.

#include "apps/deduce/configuration_values.h"

#include <fmt/format.h>

#include <algorithm>

#include "Tessra/base/json_write.h"
#include "Tessra/base/utf8.h"
#include "Tessra/entitys/agent_class.h"
#include "Tessra/entitys/gameenvs/gameserver.h"
#include "apps/deduce/configuration_keys.h"
#include "apps/deduce/exit_status.h"

namespace tessra::app {

namespace {

constexpr const char* kAgentEntry = R"(an object with "class")";

/// A value as written in the file, truncated.
std::string found_text(const Value& value) {
  return excerpt(value.kind() == Kind::host ? "a host object" : write_json(value), 60);
}

bool all(const List& list, bool (Value::*is)() const) {
  return std::all_of(list.begin(), list.end(), [&](const Value& entry) { return (entry.*is)(); });
}

bool all(const Dict& dict, bool (*is)(const Value&)) {
  return std::all_of(dict.begin(), dict.end(), [&](const auto& entry) { return is(entry.value); });
}

bool is_host(const Value& value) { return value.kind() == Kind::host; }

bool has_kind(KeyKind kind, const Value& value) {
  switch (kind) {
    case KeyKind::any:
      return true;
    case KeyKind::boolean:
      return value.is_bool();
    case KeyKind::flag:
      return value.is_bool() || value.is_integer();
    case KeyKind::whole:
      return value.is_integer();
    case KeyKind::number:
      return value.is_integer() || value.is_real();
    case KeyKind::text:
      return value.is_string();
    case KeyKind::id:
      return value.is_string() || value.is_integer();
    case KeyKind::texts:
      return value.is_list() && all(value.as_list(), &Value::is_string);
    case KeyKind::object:
    case KeyKind::objects:  // the entries of these are checked one by one, see `ValueCheck::check`
    case KeyKind::rule_agents:
    case KeyKind::learning_sides:
    case KeyKind::agents:
      return value.is_dict();
    case KeyKind::agent_class:
      return value.is_string() || value.if_host<AgentClass>() != nullptr;
    case KeyKind::host:
      return is_host(value);
    case KeyKind::hosts:
      return value.is_dict() && all(value.as_dict(), is_host);
  }
  return false;
}

class ValueCheck {
 public:
  explicit ValueCheck(const std::string& file) : file_(file) {}

  void whole(const Dict& config) {
    part(KeyPart::top, config, "");
    const bool scheduled = config.non_empty("is_ai_apply");
    const std::string place = scheduled ? "" : "game_server.";
    const Dict* section = scheduled ? &config : config.find_dict("game_server");
    if (section == nullptr) return;
    part(KeyPart::section, *section, place);
    if (const Dict* simulate = section->find_dict("simulate")) part(KeyPart::simulate, *simulate, place + "simulate.");
    if (const Dict* server = section->find_dict("server")) {
      part(KeyPart::server, *server, place + "server.");
      url(*server, place + "server.url");
    }
    const Dict* player = scheduled ? section->find_dict("player") : nullptr;
    if (player == nullptr) return;
    part(KeyPart::player, *player, place + "player.");
    if (player->contains("agent_name") && !player->contains("player_side")) {
      fail(place + "player.player_side", "the side that agent_name plays for", "nothing");
    }
  }

 private:
  [[noreturn]] void fail(const std::string& place, std::string_view expected, std::string_view found) const {
    throw InputError(fmt::format("{}: {}: expected {}, found {}", file_, excerpt(place, 200), expected, found));
  }

  void part(KeyPart part, const Dict& dict, const std::string& place) {
    for (const ConfigurationKey& key : configuration_keys()) {
      const Value* value = key.part == part ? dict.find(key.name) : nullptr;
      if (value != nullptr) check(key, *value, place + std::string(key.name));
    }
  }

  void check(const ConfigurationKey& key, const Value& value, const std::string& place) {
    if (value.is_none() && key.fallback == "null") return;  // the default, written out
    if (!has_kind(key.kind, value)) fail(place, expected_value(key), found_text(value));
    if ((value.is_integer() || value.is_real()) && (value.as_real() < key.least || value.as_real() > key.most)) {
      fail(place, expected_value(key), found_text(value));
    }
    switch (key.kind) {
      case KeyKind::objects:
        entries(value.as_dict(), place, "an object", [](const Dict&, const std::string&) { /* anything */ });
        break;
      case KeyKind::agents:
        agents(value.as_dict(), place);
        break;
      case KeyKind::rule_agents:
        entries(value.as_dict(), place, "an object: agent name → agent entry",
                [this](const Dict& side, const std::string& at) { agents(side, at); });
        break;
      case KeyKind::learning_sides:
        entries(value.as_dict(), place, R"(an object with "enemy" and "agents")",
                [this](const Dict& side, const std::string& at) { part(KeyPart::learning_side, side, at + "."); });
        break;
      default:
        break;
    }
  }

  void agents(const Dict& agents, const std::string& place) {
    entries(agents, place, kAgentEntry, [this](const Dict& agent, const std::string& at) {
      if (!agent.contains("class")) fail(at, kAgentEntry, found_text(agent));
      part(KeyPart::agent, agent, at + ".");
    });
  }

  template <class Visit>
  void entries(const Dict& dict, const std::string& place, const char* expected, Visit&& visit) {
    for (auto [name, value] : dict) {
      const std::string at = place + "." + name.to_text();
      if (!value.is_dict()) fail(at, expected, found_text(value));
      visit(value.as_dict(), at);
    }
  }

  void url(const Dict& server, const std::string& place) const {
    if (!server.contains("url")) return;
    const std::string url(server.at_text("url"));
    if (const std::string wanted = wanted_url(url); !wanted.empty()) fail(place, wanted, found_text(url));
  }

  const std::string& file_;
};

}  // namespace

std::string wanted_url(const std::string& url) {
  const std::vector<std::string> schemes = GameServer::schemes();
  const std::size_t colon = url.find(':');
  if (colon != std::string::npos && std::ranges::count(schemes, url.substr(0, colon)) > 0) return "";
  return fmt::format("a URL with one of the schemes {}:", fmt::join(schemes, ":, "));
}

void check_values(const Dict& config, const std::string& file) { ValueCheck(file).whole(config); }

}  // namespace tessra::app
