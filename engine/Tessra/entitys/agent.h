#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "Tessra/base/log.h"
#include "Tessra/base/value.h"

namespace tessra {

class Element;
class GameServer;
class RuleAgentBase;
class Situation;
struct WargameCommand;  // deduce_RL/wargame_command.h

/// What a learning agent is told about itself at construction.
struct AgentConf {
  std::int64_t uid = 0;
  std::string framework;
  std::string enemy_side;
  std::string side;
  std::string agent_name;
  std::string alg;
};

/// "No player yet" as a constructor argument of an agent; a type of its own, so that nothing else converts to it.
struct NoPlayer {};

/// Base class of agents, which decide for a side. An agent must override `step` (rule agents) or `step_rl` (learning
/// agents); everything else has a harmless default.
///
/// An agent has one of three constructors: `T(const AgentConf&)` (learning agents, which also declare
/// `static constexpr bool is_learn = true`), `T(std::string side, NoPlayer)` or `T(std::string side)`. It is
/// constructed once and lives as long as the engine; `reset` prepares it for the next episode. All calls come from the
/// engine's thread. Anything an agent throws is reported with its side and name.
class Agent {
 public:
  explicit Agent(std::string side_name) : side(std::move(side_name)) {}
  virtual ~Agent() = default;
  Agent(const Agent&) = delete;
  Agent& operator=(const Agent&) = delete;

  // What an agent implements, in the order of the calls during an episode.

  /// Once, in AI-apply mode, for learning agents.
  virtual void load_model() {}
  /// Before each decision, end check and end call.
  virtual void update_constant_attribute(RuleAgentBase& player);
  /// When the client's settings may have changed.
  virtual void update_object_attribute(RuleAgentBase& player);
  virtual void info_extract() {}
  /// Episode start. The situation is that of the agent's side, valid until the next episode starts.
  virtual void initial(const Situation& situation);
  /// Decision of a rule agent. `time_elapsed` is in simulated seconds. Orders are methods of units and missions.
  virtual void step(double time_elapsed, const Situation& situation);
  /// Decision of a learning agent; `action_records` holds the host's records for it: id → action record.
  virtual void step_rl(double time_elapsed, const Situation& situation, const Dict& action_records);
  /// Returns true to ask the engine to end the episode.
  virtual bool is_done() { return false; }
  /// Episode end.
  virtual void deduction_end() {}
  /// Before the next episode.
  virtual void reset() {}
  /// The agent's own decision interval in seconds; called in AI-apply mode only. It may depend on the situation and may
  /// throw.
  virtual Value agent_decision_time() { return 0; }

  const std::string& Side() const { return side; }

  /// The side this agent plays.
  std::string side;
  /// Name of the unit a learning agent controls; the engine sets `agent_unit_id` to its id at episode start.
  std::string agent_unit_name;

  // Set by the engine after construction.

  /// Removes a mission of a side from the engine's registry.
  std::function<void(std::string_view side, std::string_view guid)> deduce_remove_mission;
  /// Adds an element to the engine's registry.
  std::function<void(std::string_view unit_id, std::shared_ptr<Element> unit)> deduce_add_unit;
  /// A command record for a unit, stamped with the engine's time.
  std::function<WargameCommand(std::string_view unit_guid)> get_command_check;
  LogSink log;
  std::shared_ptr<GameServer> _game_server;
  /// The settings of the agent's configuration entry, or those sent by a scheduling client.
  Value client_info;
  /// The agent's name or type in the configuration.
  std::string agent_type;
  bool is_rule_agent = true;
  Value agent_file_path;
  Value agent_unit_id;
};

}  // namespace tessra
