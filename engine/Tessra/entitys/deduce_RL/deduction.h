#pragma once

#include <atomic>
#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "Tessra/base/seams.h"
#include "Tessra/entitys/agent_class.h"
#include "Tessra/entitys/data/gamedata.h"
#include "Tessra/entitys/deduce_RL/episode_state.h"
#include "Tessra/entitys/deduce_RL/settings.h"
#include "Tessra/entitys/deduce_RL/wargame_command.h"

namespace tessra {

/// When true, `set_element_info` stores only attributes the element's class knows. For finding unknown fields.
extern std::atomic<bool> FIRST_TEST;

/// A side as its agents receive it: unit id → merged unit record, contact id → contact record. The dictionaries are
/// those of the situation record it was built from.
struct SideView {
  Dict units;
  Dict contacts;
};

/// Agent name → wall-clock seconds its decision took.
using StepTimes = OrderedMap<double>;
/// 1 while the episode goes on, nothing when no situation arrived, or the episode's result.
using StepOutcome = std::variant<std::monostate, int, BatResult>;

/// Episode number → the round's result; none when the round was abandoned.
using RoundResults = std::map<std::int64_t, std::optional<BatResult>>;

/// The real clock, console, program exit and configuration directory.
Seams default_seams();

/// The deduction engine: runs episodes of a scenario on a simulation service and lets agents play its sides.
///
/// A training host calls `reset` once per episode and then `step` until the result comes back. All work is done on the
/// calling thread, one operation at a time. Unless an operation says otherwise it catches nothing: errors of the
/// service, of records and of agents reach the host. The engine owns its service client, its players and their
/// agents; situation records it is given are changed in place and kept.
class Deduction : public Settings, public EpisodeState {
 public:
  /// Reads the configuration and creates the service client, without connecting. The tree is shared with the host, and
  /// one entry is written into it (`agents_side`, or `logger` in AI-apply mode). Throws when a section is missing or a
  /// value is invalid.
  explicit Deduction(Dict game_config, Seams seams = default_seams());
  Deduction(const Deduction&) = delete;
  Deduction& operator=(const Deduction&) = delete;
  ~Deduction() = default;
  /// Clock, console, exit and configuration directory, as given to the constructor.
  const Seams& seams() const { return seams_; }

  // ---- The host's episode -------------------------------------------------------------------------------------

  /// Starts an episode. `current_round` is the host's episode number; with a negative one the previous
  /// episode's model stays.
  /// Returns 1 ready, 0 no connection, -1 the room reset failed, -2 no such scenario or it could not be loaded, -3 no
  /// initial situation, -4 it could not be processed.
  int reset(std::int64_t current_round);

  /// One decision of every agent, one advance, one update. `action_dict` holds the host's records for learning agents:
  /// id → action record; delivered records lose the key `_agent_type_`.
  StepOutcome step(Dict action_dict);

  // ---- The scheduling client's episode (AI-apply mode) ----------------------------------------------------------

  /// Runs one agent for a scheduling client: connection, situation, model, agents, the round. Returns the round's
  /// result under the episode's number. A fatal problem is reported to the client and the run log and ends the program
  /// through the seam; the stop signal is set before.
  RoundResults normal_simulate();

  /// The rest of the episode: the agent decides once per simulation step until the service reports the end. None when
  /// the round was abandoned or had ended before. `max_index` is ignored. Throws `Error` when a failure must set the
  /// stop signal but `normal_simulate` has not created it.
  std::optional<BatResult> game_run_round(std::optional<std::int64_t> max_index = std::nullopt);

  // ---- Scenario control ---------------------------------------------------------------------------------------

  /// The service client's answer; none means no connection.
  Value init_connect_server();
  bool scenario_exists(const Value& name);
  /// Up to five attempts, a second apart. True also when the name is empty and there is nothing to load.
  bool load_scenario(const Value& name);
  /// Deletes the configured scenario on the service.
  void delete_scenario();
  /// Sends the speed index, truncated to an integer. Throws `KindError` when it is not a number.
  void set_simulate_compression(const Value& n_compression);
  /// Sets the clocks of engine, players and service client to the scenario element's time. Throws without one.
  void update_simulate_info();
  /// Simulated seconds of the episode.
  double get_time_elapsed_object() const { return time_elapsed; }
  /// A command record for the unit, stamped with the engine's time; shares the unit's initial position record.
  WargameCommand get_command_check(std::string_view unit_guid);
  /// Reads "2024-05-01 08:00:00" or "2024/05/01 08:00:00". Throws `ConversionError` for anything else.
  static std::chrono::sys_seconds datetime_transfer(std::string_view simulate_time);

  // ---- Agents: description, creation, life --------------------------------------------------------------------

  /// Fills `agents_side_config`.
  void add_agents_side(const Value& rl_config, const Value& rule_config);
  /// Loads the agent libraries the configuration names, then builds all agents and players. Removes `class` from every
  /// agent entry.
  void config_agent(const Value& rule_agents_config, const Value& rl_agent_configs);
  /// Creates the missing players.
  void select_agent();
  /// Builds learning agents for a training host, one per entry of each agent's `unit` list. `args` holds `framework`
  /// and `alg`. The caller owns the agents.
  static std::vector<std::shared_ptr<Agent>> create_rl_agents(const Dict& rl_agent_config, const Dict& args);
  /// Gives the agents of `rl_agents` the ids of their units.
  void rl_agents_config_id();
  /// Resets every player and its agents.
  void agent_reset();
  /// Loads the models of learning agents; true if there are any. AI-apply mode only.
  bool rl_agents_load_model();
  /// The client's decision interval in seconds, by default 30.
  std::int64_t read_decision_time();
  /// Fetches the client's settings for every agent. AI-apply mode only.
  void get_agent_client_params();
  /// Pushes the players' attributes into the agents.
  void players_update_attribute();
  /// Calls every agent's `initial`. Returns the error result when an agent failed and `is_testing` is not true.
  std::optional<BatResult> player_init();
  /// The same in AI-apply mode: a failure is reported to the client and ends the program.
  void player_apply_init();
  /// One decision of every agent: the time each took, or the error result.
  std::variant<StepTimes, BatResult> agents_step(Dict action_dict);
  /// Whether an agent asks for the end, or the error result.
  std::variant<bool, BatResult> agents_check_end();
  /// Calls every agent's `deduction_end`.
  std::optional<BatResult> agents_end();
  /// Whether the service reported the end.
  bool is_done() const { return deduce_is_end; }
  /// Sends the commands agents queued; a refusal is logged or printed.
  void cmd_package();
  /// Removes a mission of the side from `elements`; ignores any other element.
  void agent_delete(std::string_view side, std::string_view guid);
  /// Puts an element into `elements`.
  void agent_add_unit(std::string_view unit_id, std::shared_ptr<Element> unit);
  /// The result record; with `error_side` the failing side's camp is penalised. Throws `KeyError` when a player that
  /// is asked has no `TotalScore`.
  BatResult get_game_result(std::string_view error_side = "");

  // ---- The situation model: elements --------------------------------------------------------------------------

  /// Builds the object of a kind, gives it its attributes and registers it. False when the kind is none of the
  /// sixteen or a mission's side has no player.
  bool create_element(const Value& guid, Value info_dict, ElementType element_type, std::string_view side_name = "");
  /// The assignment at creation: every entry of the record becomes an attribute. If the caller keeps no
  /// handle to it, the record is moved from.
  void set_element_info(Element& element_obj, Value info_dict);
  /// The merge of an update: known attributes only; nested dictionaries keep the entries the record lacks.
  void update_element_info(Element& element_obj, const Dict& info_dict);
  /// Removes an element through its side's player.
  void delete_element(std::string_view guid);

  // ---- The situation model: initial situation -----------------------------------------------------------------

  /// Builds the model. When the situation is empty or invalid, writes a message and returns false. Errors of the clock
  /// update, which comes last, reach the caller.
  bool process_init_situation(const Value& situation);
  /// Fills `sides_info` from the scenario's postures.
  void get_sides_info_from_situation(const Dict& all_situation);
  /// Fills `friend_side_set` from `sides_info`.
  void init_friend_sides();
  /// Builds sides, missions, units and the scenario from an initial situation. Throws when a played side lacks a part.
  void initial_all_units(const Dict& situation_data);
  /// Consumes the record's live and position parts.
  SideView get_side_initial_situation(std::string_view side_name, const Dict& side_info,
                                      bool need_save_initial = false);
  /// The configured sides that the initial situation did not contain, in player order. Their agents see an empty side,
  /// and a result that needs their score fails, so hosts should check this after every `reset`.
  std::vector<std::string> unreported_sides() const;
  /// Gives every player the table of the others.
  void set_all_side_data();

  // ---- The situation model: updates ---------------------------------------------------------------------------

  /// Applies one update situation: merge, deletions, clock, name indexes, contact check.
  void process_step_situation(const Value& update_data);
  /// Merges an update and applies its deletions.
  void parse_update_situation(const Value& situation_data);
  /// Without `crt_contacts` no unit and no contact is new. Consumes the record's live and
  /// position parts.
  SideView get_side_update_situation(std::string_view side_name, const Dict& side_info,
                                     const Dict* crt_contacts = nullptr);
  /// Merges the scenario part of an update into the scenario element.
  void update_scenario_new(Dict situation_data);
  /// Logs every contact without type or position.
  void check_situation();

  // ---- The situation model: deletions -------------------------------------------------------------------------

  /// A copy of the part of an update record that `parse_delete_situation` reads. To be taken before the merge, which
  /// changes the record.
  static Dict deletion_share(const Dict& situation_data);
  /// Applies the deletions of a record as it was delivered, or of its deletion share.
  void parse_delete_situation(const Dict& situation_data);
  /// Deletes what a unit record lists inside the unit: components, weapon records, warheads, targets.
  void del_unit_component(Element& unit_obj, const Dict& unit_info);
  /// Deletes weapon releases from a doctrine. `unit_info` must hold `Doctrine`.
  void parse_delete_doctrine(Element& unit_obj, const Dict& unit_info);
  /// Deletes from the tables of events of the scenario.
  void parse_delete_events(const Value& events_data);
  /// Applies one side's deletions in list form. Errors are logged or printed and end the call.
  void delete_elements(const Value& side_del_data, RuleAgentBase& player_obj);

 private:
  Seams seams_;
  Value game_value_;                 // the service client as elements carry it
  std::shared_ptr<Deduction> link_;  // not owning; agents' callbacks hold it weakly
};

}  // namespace tessra
