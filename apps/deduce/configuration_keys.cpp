#include "apps/deduce/configuration_keys.h"

#include <fmt/format.h>

#include <cmath>

namespace tessra::app {

namespace {

constexpr double kWeek = 604'800;  // seconds: no scenario is longer

using enum KeyKind;
using enum KeyPart;

// clang-format off
constexpr ConfigurationKey kKeys[] = {
    {top, "is_ai_apply", boolean, "false", "AI-apply mode: the section is the top level itself"},
    {top, "game_server", object, "", "standard mode: the section; required by the engine"},
    {top, "rule_config", rule_agents, "{}", "the agents: side → agent name → agent entry"},
    {top, "agent_libraries", texts, "[]", "agent libraries (`.so`), loaded when agents are created"},
    {top, "agent_map", hosts, "{}", "id → agent (`std::shared_ptr<Agent>`), for agents that are given the id of their unit"},

    {section, "simulate", object, "", "below; required by the engine"},
    {section, "server", object, "", "below; required by the engine"},
    {section, "player", object, "", "AI-apply mode: below; required there"},
    {section, "RL_agents", learning_sides, "{}", "learning agents: side → learning side"},
    {section, "logger", host, "null", "the run log's sink, an spdlog logger (`run_log.md`); without one messages are printed or dropped; in AI-apply mode the engine writes it"},
    {section, "agents_side", any, "", "written by the engine in standard mode: the agents per side"},

    {simulate, "process_id", whole, "null", "id of the worker process, named in messages and results"},
    {simulate, "main_client", boolean, "true", "only a main client sets the simulation speed"},
    {simulate, "load_scenario", boolean, "true", "whether an episode start loads the scenario"},
    {simulate, "scenario", text, "\"\"", "the scenario's name on the service; `deduce run` plays `strait` without one"},
    {simulate, "scen_check", boolean, "true", "check that the scenario exists before loading it"},
    {simulate, "episodes", whole, "1", "how many episodes; read by the command line, not by the engine", 1},
    {simulate, "compression", whole, "1", "speed index", 0},
    {simulate, "need_compression", boolean, "true", "whether an episode start sets the speed"},
    {simulate, "decision_interval", whole, "30", "simulated seconds between decisions; the bundled simulation advances by it", 1, kWeek},
    {simulate, "step_interval", whole, "5", "every how many steps the timing line is logged; 0 never", 0},
    {simulate, "reset_episodes", whole, "10", "every how many episodes the service room is started anew", 1},
    {simulate, "plan_time", number, "300", "planning time stamped into command records, seconds", 0},
    {simulate, "training", boolean, "true", "agents may ask for the end of an episode"},
    {simulate, "testing", boolean, "true", "errors of agents reach the host; false logs them and the episode goes on"},
    {simulate, "need_units_name_key", boolean, "true", "keep the units-by-name indexes"},
    {simulate, "need_all_side", boolean, "true", "not consulted"},
    {simulate, "only_situation", boolean, "false", "not consulted"},
    {simulate, "save_result", boolean, "false", "save the result of each scheduled round; `deduce run` saves each episode's"},

    {server, "url", text, "\"embedded:\"", "the service: `embedded:` the shipped scenarios, `embedded:DIR` those of a folder, `records:DIR` a recorded episode, or a scheme a host registered"},
    {server, "room_id", any, "null", "room on the service"},
    {server, "continuous", flag, "0", "converted to an integer; not consulted"},
    {server, "cplus_server", flag, "false", "true when its integer is 1; not consulted"},
    {server, "seed", whole, "1", "base seed of the bundled simulation"},
    {server, "first_episode", whole, "1", "number of the first episode that is played, which with the base seed decides its luck", 1},
    {server, "record", text, "", "keep every situation record below this folder, which must hold no other recording"},
    {server, "agent_settings", objects, "{}", "AI-apply mode: agent id → settings the scheduling client holds for it at the start"},

    {player, "agent_name", text, "\"\"", "which of the side's agents plays"},
    {player, "player_side", text, "\"\"", "the side it plays; required with `agent_name`"},
    {player, "agent_id", id, "\"\"", "the id the client knows it by"},
    {player, "agent_path", text, "\"\"", "where its code is; a `.so` is loaded as an agent library"},
    {player, "decision_time", whole, "30", "the client's decision interval in seconds; the larger of it and the agent's own counts", 0, kWeek},

    {learning_side, "enemy", text, "\"\"", "the side it plays against, which gets a player without agents if it has none"},
    {learning_side, "agents", agents, "{}", "agent type → agent entry"},

    {agent, "class", agent_class, "", "a registered name, or an `AgentClass` object of the host; required. Other keys are handed to the agent as `client_info`"},
};
// clang-format on

std::string in_range(std::string_view what, const ConfigurationKey& key) {
  if (std::isinf(key.least)) return std::string(what);
  if (std::isinf(key.most)) return fmt::format("{} of at least {}", what, key.least);
  return fmt::format("{} from {} to {}", what, key.least, static_cast<std::int64_t>(key.most));
}

}  // namespace

std::span<const ConfigurationKey> configuration_keys() { return kKeys; }

std::vector<std::string_view> key_names(KeyPart part) {
  std::vector<std::string_view> names;
  for (const ConfigurationKey& key : kKeys) {
    if (key.part == part) names.push_back(key.name);
  }
  return names;
}

std::string expected_value(const ConfigurationKey& key) {
  switch (key.kind) {
    case any:
      return "anything";
    case boolean:
      return "true or false";
    case flag:
      return "true, false or a whole number";
    case whole:
      return in_range("a whole number", key);
    case number:
      return in_range("a number", key);
    case text:
      return "a text";
    case id:
      return "a text or a whole number";
    case texts:
      return "a list of texts";
    case object:
      return "an object";
    case objects:
    case rule_agents:
    case learning_sides:
    case agents:
      return "an object of objects";
    case agent_class:
      return "the name of a class";
    case host:
      return "an object of a host program";
    case hosts:
      return "an object of a host program's objects";
  }
  return "";
}

}  // namespace tessra::app
