// From the agent entries of the configuration to agents and players. Rule agents come first and learning agents after
// them, in the order of the configuration; learning agents are numbered from 1000.

#include <fmt/printf.h>

#include "Tessra/entitys/agent_call.h"
#include "Tessra/entitys/agent_library.h"
#include "Tessra/entitys/deduce_RL/agent_calls.h"
#include "Tessra/entitys/deduce_RL/messages.h"
#include "Tessra/entitys/gameunit.h"

namespace tessra {

void Deduction::add_agents_side(const Value& rl_config, const Value& rule_config) {
  const auto names = [](const Dict& entries) {
    List list;
    for (auto [name, entry] : entries) list.push_back(name);
    return list;
  };
  if (rule_config.truthy()) {
    for (auto [side, agent_entries] : rule_config.as_dict())
      agents_side_config.set(side, names(agent_entries.as_dict()));
  }
  if (!rl_config.truthy()) return;
  for (auto [side, entry] : rl_config.as_dict()) {
    if (const Dict* agent_entries = entry.as_dict().find_dict("agents")) {
      if (!agents_side_config.contains(side)) agents_side_config.set(side, List());
      agents_side_config.at(side).as_list().extend(names(*agent_entries));
    }
    // The enemy gets a player even without agents of its own.
    const Value enemy = entry.as_dict().get("enemy");
    if (enemy.truthy() && !agents_side_config.contains(enemy)) agents_side_config.set(enemy, List());
  }
}

// ---- Construction -----------------------------------------------------------------------------------------------

namespace {

std::shared_ptr<AgentClass> class_of(const Dict& entry, const std::string& name, const std::string& side) {
  if (!entry.contains("class")) throw KeyError("agent '" + name + "' of side '" + side + "' has no 'class'");
  return agent_class_of(entry.at("class"));
}

/// Builds the agents of a configuration and numbers those that learn.
class AgentMaker {
 public:
  AgentMaker(Deduction& engine, std::weak_ptr<Deduction> link) : engine_(engine), link_(std::move(link)) {}

  void make_rule_side(const std::string& side, const Dict& entries);
  void make_learning_side(const std::string& side, const Dict& side_entry);

 private:
  std::shared_ptr<Agent> make_rule_agent(const std::string& side, const std::string& name, const Dict& entry);
  std::shared_ptr<Agent> make_learner(const AgentClass& agent_class, const std::string& side, const std::string& name,
                                      const std::string& enemy_side);
  void equip(Agent& agent, Dict& entry, const std::string& agent_type, bool is_rule_agent) const;

  Deduction& engine_;
  std::weak_ptr<Deduction> link_;
  std::int64_t uid_ = 1000;
};

void AgentMaker::make_rule_side(const std::string& side, const Dict& entries) {
  auto list = std::make_shared<AgentList>();
  // An agent's constructor may make units, but only of its own side.
  const GameUnit::CreationKey key(side);
  for (auto [agent_name, entry] : entries) {
    Dict settings = entry.as_dict();
    const auto agent = make_rule_agent(side, agent_name.to_text(), settings);
    if (agent == nullptr) continue;
    equip(*agent, settings, agent_name.to_text(), true);
    list->push_back(agent);
  }
  engine_.agents.set(side, list);
}

void AgentMaker::make_learning_side(const std::string& side, const Dict& side_entry) {
  auto list = std::make_shared<AgentList>();
  const GameUnit::CreationKey key(side);
  const Value enemy = side_entry.get("enemy");
  const std::string enemy_side = enemy.is_none() ? "" : enemy.to_text();
  if (const Dict* entries = side_entry.find_dict("agents")) {
    for (auto [agent_type, entry] : *entries) {
      Dict settings = entry.as_dict();
      const std::string type = agent_type.to_text();
      const auto agent = make_learner(*class_of(settings, type, side), side, type, enemy_side);
      equip(*agent, settings, type, false);
      agent->agent_file_path = engine_.agent_file_path;
      list->push_back(agent);
    }
  }
  if (const auto* earlier = engine_.agents.find(side)) {
    (*earlier)->insert((*earlier)->end(), list->begin(), list->end());
  } else {
    engine_.agents.set(side, list);
  }
}

std::shared_ptr<Agent> AgentMaker::make_rule_agent(const std::string& side, const std::string& name,
                                                   const Dict& entry) {
  const auto agent_class = class_of(entry, name, side);
  if (agent_class->is_learn()) return make_learner(*agent_class, side, name, "");
  // A class that cannot be built from a side gives no agent.
  if (!agent_class->is_built_from_side()) return nullptr;
  return build_agent(engine_, side, name, [&] { return agent_class->make(side); });
}

std::shared_ptr<Agent> AgentMaker::make_learner(const AgentClass& agent_class, const std::string& side,
                                                const std::string& name, const std::string& enemy_side) {
  const AgentConf conf{uid_, "torch", enemy_side, side, "RL-" + name, "no"};
  auto agent = build_agent(engine_, side, name, [&] { return agent_class.make(conf); });
  ++uid_;
  return agent;
}

void AgentMaker::equip(Agent& agent, Dict& entry, const std::string& agent_type, bool is_rule_agent) const {
  // An agent may outlive the engine; what it calls then throws instead of reaching into nothing.
  const auto engine = [link = link_] {
    auto alive = link.lock();
    if (alive == nullptr) throw Error("the engine of this agent has ended");
    return alive;
  };
  agent.deduce_remove_mission = [engine](std::string_view side, std::string_view guid) {
    engine()->agent_delete(side, guid);
  };
  agent.deduce_add_unit = [engine](std::string_view unit_id, std::shared_ptr<Element> unit) {
    engine()->agent_add_unit(unit_id, std::move(unit));
  };
  agent.get_command_check = [engine](std::string_view unit_guid) { return engine()->get_command_check(unit_guid); };
  agent.log = engine_.logger;
  agent._game_server = engine_.game;
  // What remains are the agent's own settings.
  entry.erase("class");
  agent.client_info = entry;
  agent.agent_type = agent_type;
  agent.is_rule_agent = is_rule_agent;
}

// Here and not at the engine's construction, so that a library that cannot be used is a failure of the agents'
// creation.
void load_agent_libraries(const Settings& settings) {
  if (const Value* files = settings.config.find("agent_libraries")) {
    for (const Value& file : files->as_list()) load_agent_library(file.as_text());
  }
  // A client's path may also lead to something that only the agent itself can read.
  const std::string path = settings.agent_file_path.to_text();
  if (path.ends_with(".so")) load_agent_library(path);
}

}  // namespace

void Deduction::config_agent(const Value& rule_agents_config, const Value& rl_agent_configs) {
  load_agent_libraries(*this);
  AgentMaker maker(*this, link_);
  for (auto [side, entries] : rule_agents_config.as_dict()) maker.make_rule_side(side.to_text(), entries.as_dict());
  for (auto [side, entry] : rl_agent_configs.as_dict()) maker.make_learning_side(side.to_text(), entry.as_dict());
  select_agent();
}

void Deduction::select_agent() {
  for (auto [side, descriptions] : agents_side_config) {
    const std::string side_name = side.to_text();
    if (players.contains(side_name)) continue;
    const GameUnit::CreationKey key(side_name);
    auto player = std::make_shared<RuleAgentBase>(side_name);
    if (const auto* list = agents.find(side_name)) player->agents_list = *list;
    players.set(side_name, player);
    // A side is shown under its first agent's whole name.
    const List& names = descriptions.as_list();
    agent_names.set(side, names.empty() ? Value("Data-NoAgent") : names.at(0));
  }
}

std::vector<std::shared_ptr<Agent>> Deduction::create_rl_agents(const Dict& rl_agent_config, const Dict& args) {
  std::vector<std::shared_ptr<Agent>> result;
  std::int64_t uid = 0;
  for (auto [side, side_entry] : rl_agent_config) {
    const std::string side_name = side.to_text();
    const GameUnit::CreationKey key(side_name);
    const std::string enemy = side_entry.as_dict().at("enemy").to_text();
    for (auto [agent_type, entry] : side_entry.as_dict().at_dict("agents")) {
      for (const Value& unit_name : entry.as_dict().at_list("unit")) {
        const AgentConf conf{uid,
                             std::string(args.at("framework").to_text()),
                             enemy,
                             side_name,
                             unit_name.to_text(),
                             args.at("alg").to_text()};
        auto agent = class_of(entry.as_dict(), agent_type.to_text(), side_name)->make(conf);
        agent->agent_type = agent_type.to_text();
        result.push_back(std::move(agent));
        ++uid;
      }
    }
  }
  return result;
}

// ---- Life of the agents -----------------------------------------------------------------------------------------

void Deduction::rl_agents_config_id() {
  for (auto [id, entry] : rl_agents.as_dict()) {
    const auto agent = entry.as_host<Agent>();
    const auto* player = players.find(agent->side);
    if (player == nullptr) continue;
    const auto* unit = (*player)->units_of_name.find(agent->agent_unit_name);
    if (unit != nullptr) agent->agent_unit_id = (*unit)->get_attribute("ID");
  }
}

void Deduction::agent_reset() {
  for (const auto& [side, player] : players) {
    player->reset();
    for (const auto& agent : *player->agents_list) call_bare(*this, agent, "reset", [&] { agent->reset(); });
  }
}

bool Deduction::rl_agents_load_model() {
  if (!game->is_ai_apply) return false;
  bool loaded = false;
  for (const auto& [side, player] : players) {
    for (const auto& agent : *player->agents_list) {
      if (agent->is_rule_agent) continue;
      const AgentCall running(*agent, "load_model");
      agent->load_model();
      loaded = true;
    }
  }
  return loaded;
}

std::int64_t Deduction::read_decision_time() {
  constexpr std::int64_t kDefault = 30;
  const Dict& player = config.at_dict("player");
  try {
    return player.at("decision_time").to_integer();
  } catch (const Error&) {
    log_only(*this, LogLevel::warning, "决策间隔未设置, 按照默认决策间隔处理：决策间隔为30s");
    return kDefault;
  }
}

}  // namespace tessra
