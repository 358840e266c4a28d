#include "Tessra/entitys/deduce_RL/deduction.h"

#include <spdlog/logger.h>

#include "Tessra/entitys/ai_apply_config.h"
#include "Tessra/entitys/deduce_RL/messages.h"

namespace tessra {

std::atomic<bool> FIRST_TEST = false;

Seams default_seams() { return {real_clock(), real_console(), real_exit(), GLOBAL_CONFIG_PATH()}; }

namespace {

constexpr SimulateKey kSimulateKeys[] = {
    {"process_id", &Settings::process_id},
    {"main_client", &Settings::is_main_client},
    {"load_scenario", &Settings::load_scen},
    {"scenario", &Settings::scenario_name},
    {"scen_check", &Settings::scen_check},
    {"episodes", &Settings::episodes},
    {"compression", &Settings::compression},
    {"need_compression", &Settings::need_compression},
    {"decision_interval", &Settings::decision_interval},
    {"step_interval", &Settings::step_interval},
    {"reset_episodes", &Settings::reset_episodes},
    {"plan_time", &Settings::plan_time},
    {"training", &Settings::is_training},
    {"testing", &Settings::is_testing},
    {"need_units_name_key", &Settings::names_key},
    {"need_all_side", &Settings::need_all_side},
    {"only_situation", &Settings::only_situation},
    {"save_result", &Settings::save_result},
};

}  // namespace

std::span<const SimulateKey> simulate_keys() { return kSimulateKeys; }

namespace {

void take(const Dict& section, std::string_view key, Value& attribute) {
  if (const Value* value = section.find(key)) attribute = *value;
}

/// The agent that a scheduling client chose.
void take_choice(Settings& settings, const Dict& player) {
  if (const Value* name = player.find("agent_name")) {
    settings.agent_names_from_client = *name;
    settings.import_agent_side = player.at("player_side");
  }
  take(player, "agent_id", settings.agent_id_from_client);
  take(player, "agent_path", settings.agent_file_path);
}

}  // namespace

Deduction::Deduction(Dict game_config, Seams seams)
    : seams_(std::move(seams)), link_(this, [](Deduction*) { /* the host owns the engine */ }) {
  config = game_config;
  is_ai_apply = game_config.non_empty("is_ai_apply");
  Dict section = is_ai_apply ? game_config : game_config.at_dict("game_server");

  const Dict simulate = section.at_dict("simulate");
  for (const SimulateKey& entry : simulate_keys()) take(simulate, entry.key, this->*entry.attribute);

  const Dict server = section.at_dict("server");
  take(server, "room_id", room_id);
  if (const Value* value = server.find("continuous")) continuous = value->to_integer();
  if (const Value* value = server.find("cplus_server")) cplus_server = value->to_integer() == 1;

  take(game_config, "agent_map", rl_agents);
  take(game_config, "rule_config", rule_agent_config);
  take(section, "RL_agents", rl_agent_config);

  add_agents_side(rl_agent_config, rule_agent_config);
  if (!is_ai_apply) section.set("agents_side", agents_side_config);

  if (const Value* sink = section.find("logger"); sink != nullptr && !sink->is_none()) {
    logger = sink->as_host<spdlog::logger>();
  }
  if (is_ai_apply) {
    take_choice(*this, section.at_dict("player"));
    open_run_log(*this, game_config);
  }
  game = GameServer::create(section);
  game_value_ = Value(game);
}

}  // namespace tessra
