// Checks beyond single values: keys without effect, and sides that do not exist.

#include "apps/deduce/configuration_checks.h"

#include <fmt/format.h>

#include <algorithm>
#include <numeric>
#include <string_view>

#include "Tessra/entitys/deduce_RL/deduction.h"
#include "apps/deduce/configuration_keys.h"
#include "apps/deduce/exit_status.h"

namespace tessra::app {

namespace {

using Keys = std::vector<std::string_view>;

/// Levenshtein distance, with one row of the usual table.
std::size_t edit_distance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < a.size(); ++i) {
    std::size_t diagonal = std::exchange(row[0], i + 1);
    for (std::size_t j = 0; j < b.size(); ++j) {
      const std::size_t substituted = diagonal + (a[i] == b[j] ? 0 : 1);
      diagonal = std::exchange(row[j + 1], std::min({row[j] + 1, row[j + 1] + 1, substituted}));
    }
  }
  return row[b.size()];
}

void warn_of_unknown(const Dict* part, const std::string& place, const Keys& known, std::vector<std::string>& lines) {
  if (part == nullptr) return;
  for (auto [key, value] : *part) {
    const std::string name = key.to_text();
    if (std::ranges::find(known, name) != known.end()) continue;
    const auto nearest =
        std::ranges::min_element(known, {}, [&](std::string_view other) { return edit_distance(other, name); });
    lines.push_back(fmt::format("unknown key {}{} has no effect; did you mean {}?", place, name, *nearest));
  }
}

/// Warns about an agent or settings of the scheduling client that match no agent.
void warn_of_nobody(const Dict& config, std::vector<std::string>& lines) {
  const Dict* player = config.find_dict("player");
  if (player == nullptr) return;
  const Dict* rule_agents = config.find_dict("rule_config");
  const Dict* agents = rule_agents != nullptr ? rule_agents->find_dict(player->get("player_side")) : nullptr;
  const Value name = player->get("agent_name");
  if (agents != nullptr && !name.is_none() && !agents->contains(name)) {
    lines.push_back("player.agent_name '" + name.to_text() + "' is not one of the side's agents; the first one plays");
  }
  const Dict* server = config.find_dict("server");
  const Dict* settings = server != nullptr ? server->find_dict("agent_settings") : nullptr;
  if (settings == nullptr) return;
  for (auto [agent_id, entry] : *settings) {
    if (agent_id == player->get("agent_id")) continue;
    lines.push_back("server.agent_settings has settings for '" + agent_id.to_text() +
                    "', which is not player.agent_id");
  }
}

}  // namespace

std::vector<std::string> configuration_warnings(const Dict& config) {
  std::vector<std::string> lines;
  const bool scheduled = config.non_empty("is_ai_apply");
  Keys top = key_names(KeyPart::top);
  // In AI-apply mode the section is the top level itself, so its keys are allowed there.
  Keys of_section = key_names(KeyPart::section);
  if (!scheduled) std::erase(of_section, "player");
  if (scheduled) top.insert(top.end(), of_section.begin(), of_section.end());
  warn_of_unknown(&config, "", top, lines);
  const Dict* section = scheduled ? &config : config.find_dict("game_server");
  if (section == nullptr) return lines;
  if (!scheduled) warn_of_unknown(section, "game_server.", of_section, lines);
  warn_of_unknown(section->find_dict("simulate"), "simulate.", key_names(KeyPart::simulate), lines);
  warn_of_unknown(section->find_dict("server"), "server.", key_names(KeyPart::server), lines);
  if (const Dict* sides = section->find_dict("RL_agents")) {
    for (auto [side, entry] : *sides) {
      warn_of_unknown(entry.if_dict(), "RL_agents." + side.to_text() + ".", key_names(KeyPart::learning_side), lines);
    }
  }
  if (scheduled) {
    warn_of_unknown(config.find_dict("player"), "player.", key_names(KeyPart::player), lines);
    warn_of_nobody(config, lines);
  }
  return lines;
}

void check_sides(const Dict& config, const Dict& scenario, const std::string& file) {
  Keys sides;
  for (const Value& side : scenario.at_list("sides")) sides.push_back(side.as_dict().at_text("name"));
  const auto require = [&](const Value& side, const std::string& key) {
    if (std::ranges::find(sides, side.to_text()) != sides.end()) return;
    throw InputError(fmt::format("{}: {}: the scenario has no side '{}'; there are: {}", file, key, side.to_text(),
                                 fmt::join(sides, ", ")));
  };
  const bool scheduled = config.non_empty("is_ai_apply");
  const Dict* section = scheduled ? &config : config.find_dict("game_server");
  const std::string place = scheduled ? "" : "game_server.";
  if (const Dict* agents = config.find_dict("rule_config")) {
    for (auto [side, entry] : *agents) require(side, "rule_config." + side.to_text());
  }
  if (const Dict* learners = section != nullptr ? section->find_dict("RL_agents") : nullptr) {
    for (auto [side, entry] : *learners) {
      const std::string key = place + "RL_agents." + side.to_text();
      require(side, key);
      const Value enemy = entry.as_dict().get("enemy");
      if (enemy.truthy()) require(enemy, key + ".enemy");
    }
  }
  const Dict* player = scheduled ? config.find_dict("player") : nullptr;
  if (player != nullptr && player->contains("player_side")) require(player->at("player_side"), "player.player_side");
}

void check_reported_sides(const Deduction& engine) {
  const std::vector<std::string> unknown = engine.unreported_sides();
  if (unknown.empty()) return;
  std::string known;
  for (auto [side_id, name] : engine.side_id2name) known += (known.empty() ? "" : ", ") + name.to_text();
  throw InputError(fmt::format("the service has no side '{}', which the configuration plays; it has: {}",
                               fmt::join(unknown, "', '"), known));
}

}  // namespace tessra::app
