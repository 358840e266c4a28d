#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "Tessra/base/log.h"
#include "Tessra/base/value.h"

namespace tessra {

/// What the configuration decides. Set once, at construction; `docs/configuration.md` lists the keys. Values the
/// configuration stores unchanged keep the kind they were given.
struct Settings {
  /// Id of the worker process; when it is not none, episode and load messages name it and results carry it.
  Value process_id;
  /// The whole configuration tree, shared with the host.
  Dict config;
  /// One agent for a scheduling client, instead of a training host's loop.
  bool is_ai_apply = false;
  /// Only a main client sets the simulation speed at episode start.
  Value is_main_client = true;
  /// Whether an episode start loads the scenario, and whether it checks first that there is one.
  Value load_scen = true;
  Value scenario_name = "";
  Value scen_check = true;
  /// Not consulted by the engine.
  Value episodes = 1;
  /// Speed index, and whether an episode start sets it.
  Value compression = 1;
  Value need_compression = true;
  /// Agents' decision interval in simulated seconds; only reported.
  Value decision_interval = 30;
  /// Every how many steps the timing line is logged.
  Value step_interval = 5;
  /// Every how many episodes the service room is started anew.
  Value reset_episodes = 10;
  /// Planning time in seconds, copied into every `WargameCommand`.
  Value plan_time = 300;
  /// In training, agents may ask for the end of an episode.
  Value is_training = true;
  /// When true, errors of agents reach the host; else they are logged and the episode goes on.
  Value is_testing = true;
  /// Whether the players' units-by-name indexes are kept.
  Value names_key = true;
  /// Not consulted by the engine.
  Value need_all_side = true;
  Value only_situation = false;
  /// Whether the scheduled run saves each round's result.
  Value save_result = false;
  /// The run log; none means messages are printed or dropped, as each operation says.
  LogSink logger;
  /// Refreshed from the service client at each episode start.
  Value room_id;
  /// Not consulted by the engine.
  std::int64_t continuous = 0;
  bool cplus_server = false;
  /// Id → agent, for the agents that are given the id of their unit.
  Value rl_agents = Dict();
  /// Side → agent name → agent entry.
  Value rule_agent_config = Dict();
  /// Side → {`enemy`, `agents`: agent type → agent entry}.
  Value rl_agent_config = Dict();

  // The scheduling client's choice (AI-apply mode).

  Value agent_names_from_client = "";
  Value agent_id_from_client = "";
  Value import_agent_side = "";
  Value agent_file_path = "";
};

/// A key of the configuration's `simulate` section; its value is stored unchanged.
struct SimulateKey {
  std::string_view key;
  Value Settings::*attribute;
};

/// All keys of the `simulate` section, in the order they are read.
std::span<const SimulateKey> simulate_keys();

}  // namespace tessra
