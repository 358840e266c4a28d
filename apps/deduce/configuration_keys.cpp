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
    {top, boolean, "is_ai_apply", "false", "AI-apply mode: the section is the top level itself"},
    {top, object, "game_server", "", "standard mode: the section; required by the engine"},
    {top, rule_agents, "rule_config", "{}", "the agents: side → agent name → agent entry"},
    {top, texts, "agent_libraries", "[]", "agent libraries (`.so`), loaded when agents are created"},
    {top, hosts, "agent_map", "{}", "id → agent (`std::shared_ptr<Agent>`), for agents that are told the id of their unit"},

    {section, object, "simulate", "", "below; required by the engine"},
    {section, object, "server", "", "below; required by the engine"},
    {section, object, "player", "", "AI-apply mode: below; required there"},
    {section, learning_sides, "RL_agents", "{}", "learning agents: side → learning side"},
    {section, host, "logger", "null", "logger of the run log, an spdlog logger (`run_log.md`); without one messages are printed or dropped; set by the engine in AI-apply mode"},
    {section, any, "agents_side", "", "set by the engine in standard mode: the agents per side"},

    {simulate, whole, "process_id", "null", "id of the worker process, shown in messages and results"},
    {simulate, boolean, "main_client", "true", "only a main client sets the simulation speed"},
    {simulate, boolean, "load_scenario", "true", "whether an episode start loads the scenario; always false for `deduce run` with `records:`"},
    {simulate, text, "scenario", "\"\"", "name of the scenario on the service; default of `deduce run`: `strait`"},
    {simulate, boolean, "scen_check", "true", "check that the scenario exists before loading it"},
    {simulate, whole, "episodes", "1", "number of episodes; read by the command line, not by the engine", 1, kMostEpisodes},
    {simulate, whole, "compression", "1", "speed index", 0},
    {simulate, boolean, "need_compression", "true", "whether an episode start sets the speed"},
    {simulate, whole, "decision_interval", "30", "simulated seconds between decisions; the bundled simulation advances by it", 1, kWeek},
    {simulate, whole, "step_interval", "5", "steps between two timing lines in the log; 0: never", 0},
    {simulate, whole, "reset_episodes", "10", "episodes between two restarts of the service room", 1},
    {simulate, number, "plan_time", "300", "planning time in seconds, stored in command records", 0},
    {simulate, boolean, "training", "true", "agents may end an episode"},
    {simulate, boolean, "testing", "true", "true: errors of agents reach the host; false: they are logged and the episode goes on"},
    {simulate, boolean, "need_units_name_key", "true", "keep the units-by-name indexes"},
    {simulate, boolean, "need_all_side", "true", "not consulted"},
    {simulate, boolean, "only_situation", "false", "not consulted"},
    {simulate, boolean, "save_result", "false", "save the result of each scheduled round; `deduce run` saves each episode's"},

    {server, text, "url", "\"embedded:\"", "the service: `embedded:` (shipped scenarios), `embedded:DIR` (those of a folder), `records:DIR` (a recorded episode, `replay.md`), `grpc://HOST:PORT`, `grpcs://HOST:PORT` or `grpc+unix:PATH` (another process, `remote.md`), or a scheme registered by the host"},
    {server, any, "room_id", "null", "room on the service"},
    {server, flag, "continuous", "0", "converted to an integer; not consulted"},
    {server, flag, "cplus_server", "false", "true when its integer is 1; not consulted"},
    {server, whole, "seed", "1", "base seed of the simulation"},
    {server, whole, "first_episode", "1", "number of the first episode played; an episode's seed depends on its number and the base seed", 1, kMostEpisodes},
    {server, text, "token_file", "", "remote service: file with the token it asks for"},
    {server, text, "ca_file", "", "`grpcs:`: certificates (PEM) of the authorities trusted; default: those of the system"},
    {server, text, "cert_file", "", "`grpcs:`: this client's certificate (PEM), with `key_file`"},
    {server, text, "key_file", "", "`grpcs:`: its private key (PEM)"},
    {server, whole, "lease", "120", "remote service: seconds a room outlives its last call, and how long a broken link is tried again; the service may grant less", 1, 86'400},
    {server, text, "record", "", "save every situation record in this folder, which must not hold another recording"},
    {server, objects, "agent_settings", "{}", "AI-apply mode: agent id → initial settings of the agent at the scheduling client"},

    {player, text, "agent_name", "\"\"", "name of the agent that plays"},
    {player, text, "player_side", "\"\"", "the side it plays; required with `agent_name`"},
    {player, id, "agent_id", "\"\"", "its id at the client"},
    {player, text, "agent_path", "\"\"", "path of its code; a `.so` is loaded as an agent library"},
    {player, whole, "decision_time", "30", "the client's decision interval in seconds; the larger of this and the agent's own applies", 0, kWeek},

    {learning_side, text, "enemy", "\"\"", "the opposing side; gets a player without agents if it has none"},
    {learning_side, agents, "agents", "{}", "agent type → agent entry"},

    {agent, agent_class, "class", "", "a registered name, or an `AgentClass` object of the host; required. Other keys are passed to the agent as `client_info`"},
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
      return "a string";
    case id:
      return "a string or a whole number";
    case texts:
      return "a list of strings";
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
      return "a host object";
    case hosts:
      return "an object of host objects";
  }
  return "";
}

}  // namespace tessra::app
