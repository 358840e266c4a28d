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

/// The real surroundings of an engine.
Seams default_seams();

/// The deduction engine: runs episodes of a scenario on a simulation service and lets agents play its sides.
///
/// A training host calls `reset` once per episode and then `step` until the result comes back. All work is done on the
/// calling thread, one operation at a time. Unless an operation says otherwise it catches nothing: errors of the
/// service, of records and of agents reach the host. The engine owns its service client, its players and their
/// agents; situation records it is given are changed in place and kept.
class Deduction : public Settings, public EpisodeState {
 public:
  /// Reads the configuration, describes the agents per side and creates the service client; connects nothing. The tree
  /// is shared with the host, and two entries are written into it (`agents_side` or `logger`). Throws when a section
  /// is missing or a value cannot be used.
  explicit Deduction(Dict game_config, Seams seams = default_seams());
  Deduction(const Deduction&) = delete;
  Deduction& operator=(const Deduction&) = delete;
  ~Deduction() = default;
  /// The surroundings it was made with.
  const Seams& seams() const { return seams_; }

  // ---- The host's episode -------------------------------------------------------------------------------------

  /// Starts an episode. `current_round` is the host's number of it; a negative one keeps the previous episode's model.
  /// Returns 1 ready, 0 no connection, -1 the room reset failed, -2 no such scenario or it could not be loaded, -3 no
  /// initial situation, -4 it could not be processed.
  int reset(std::int64_t current_round);

  /// One decision of every agent, one advance, one update. `action_dict` holds the host's records for learning agents:
  /// id → action record; the key `_agent_type_` is taken out of records that are delivered.
  StepOutcome step(Dict action_dict);

  // ---- The scheduling client's episode (AI-apply mode) ----------------------------------------------------------

  /// Runs one agent for a scheduling client: connection, situation, model, agents, the round. Returns the round's
  /// result under the episode's number. A fatal problem is reported to the client and the run log and ends the program
  /// through the seam; the stop signal is set before.
  RoundResults normal_simulate();

  /// The rest of the episode: the agent decides once per simulation step until the service reports the end. None when
  /// the round was abandoned or had ended before. `max_index` is not used. Throws `Error` when a failure has to set the
  /// stop signal and no `normal_simulate` has made it.
  std::optional<BatResult> game_run_round(std::optional<std::int64_t> max_index = std::nullopt);

  // ---- Scenario control ---------------------------------------------------------------------------------------

  /// The service client's answer; none means no connection.
  Value init_connect_server();
  bool scenario_exists(const Value& name);
  /// Up to five attempts, a second apart. True also when the name is empty and there is nothing to load.
  bool load_scenario(const Value& name);
  /// Deletes the configured scenario on the service.
  void delete_scenario();
  /// Sends the speed index; fractions are cut off. Throws `KindError` for what is no number.
  void set_simulate_compression(const Value& n_compression);
  /// Brings engine, players and service client to the scenario element's time. Throws when there is none.
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
  /// Loads the agent libraries the configuration names, then builds all agents and players. Takes `class` out of every
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
  /// Loads the models of learning agents; true when there was one. AI-apply mode only.
  bool rl_agents_load_model();
  /// The client's decision interval in seconds; 30 when it is not set.
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
  /// Drops a mission of the side from `elements`; anything else stays.
  void agent_delete(std::string_view side, std::string_view guid);
  void agent_add_unit(std::string_view unit_id, std::shared_ptr<Element> unit);
  /// The result record; with `error_side` the failing side's camp is penalised. Throws `KeyError` when a player that
  /// is asked has no `TotalScore`.
  BatResult get_game_result(std::string_view error_side = "");

  // ---- The situation model: elements --------------------------------------------------------------------------

  /// Builds the object of a kind, gives it its attributes and registers it. False when the kind is none of the
  /// sixteen or a mission's side has no player.
  bool create_element(const Value& guid, Value info_dict, ElementType element_type, std::string_view side_name = "");
  /// The assignment at creation: every entry of the record becomes an attribute. A record that is handed over for good
  /// may be left empty.
  void set_element_info(Element& element_obj, Value info_dict);
  /// The merge of an update: known attributes only; dictionaries keep the entries the record does not carry.
  void update_element_info(Element& element_obj, const Dict& info_dict);
  /// Removes an element through its side's player.
  void delete_element(std::string_view guid);

  // ---- The situation model: initial situation -----------------------------------------------------------------

  /// Builds the model. False, and a message, when the situation is empty or wrong; the clock and the players are
  /// brought up to date outside that guard.
  bool process_init_situation(const Value& situation);
  /// Fills `sides_info` from the scenario's postures.
  void get_sides_info_from_situation(const Dict& all_situation);
  void init_friend_sides();
  void initial_all_units(const Dict& situation_data);
  /// Takes the record's live and position parts apart.
  SideView get_side_initial_situation(std::string_view side_name, const Dict& side_info,
                                      bool need_save_initial = false);
  /// The sides the configuration plays of which the initial situation had nothing, in player order. Their agents see
  /// an empty side, and a result that needs their score fails: worth a look after every `reset`.
  std::vector<std::string> unreported_sides() const;
  /// Gives every player the table of the others.
  void set_all_side_data();

  // ---- The situation model: updates ---------------------------------------------------------------------------

  /// Applies one update situation: merge, deletions, clock, name indexes, contact check.
  void process_step_situation(const Value& update_data);
  void parse_update_situation(const Value& situation_data);
  /// Without `crt_contacts` no unit and no contact is new. Takes the record's live and position parts apart.
  SideView get_side_update_situation(std::string_view side_name, const Dict& side_info,
                                     const Dict* crt_contacts = nullptr);
  /// Applies the record's scenario share, built in place.
  void update_scenario_new(Dict situation_data);
  /// Logs every contact without type or position.
  void check_situation();

  // ---- The situation model: deletions -------------------------------------------------------------------------

  /// What of an update record `parse_delete_situation` reads, as a record of its own that shares nothing with it:
  /// taken before the merge, which changes the record.
  static Dict deletion_share(const Dict& situation_data);
  /// Applies the deletions of a record as it was delivered, or of its deletion share.
  void parse_delete_situation(const Dict& situation_data);
  void del_unit_component(Element& unit_obj, const Dict& unit_info);
  void parse_delete_doctrine(Element& unit_obj, const Dict& unit_info);
  void parse_delete_events(const Value& events_data);
  /// Applies one side's deletions in list form. Errors are logged or printed and end the call.
  void delete_elements(const Value& side_del_data, RuleAgentBase& player_obj);

 private:
  Seams seams_;
  Value game_value_;                 // the service client as elements carry it
  std::shared_ptr<Deduction> link_;  // does not own; agents' callbacks hold it weakly
};

}  // namespace tessra
