#pragma once

#include <atomic>
#include <chrono>
#include <concepts>
#include <exception>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "Tessra/base/seams.h"
#include "Tessra/entitys/agent_class.h"
#include "Tessra/entitys/commonfunction.h"
#include "Tessra/entitys/data/gamedata.h"
#include "Tessra/entitys/deduce_RL/episode_state.h"
#include "Tessra/entitys/deduce_RL/first_contacts.h"
#include "Tessra/entitys/deduce_RL/settings.h"
#include "Tessra/entitys/deduce_RL/wargame_command.h"

namespace tessra {

struct Visited;

/// When true, `set_element_info` stores only attributes the element's class knows. For finding unknown fields.
extern std::atomic<bool> FIRST_TEST;

/// A side as its agents receive it: unit id → merged unit record, contact id → contact record. The dictionaries are
/// those of the situation record it was built from.
struct SideView {
  Dict units;
  Dict contacts;
  /// Elements of the units, by their places, as far as joining an update came to know them.
  std::vector<Element*> known = {};

  SideView deep_copy() const { return {units.deep_copy(Texts::shared), contacts.deep_copy(Texts::shared)}; }
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

  /// Whose the error was that reached the host from the last `reset`, `step` or `normal_simulate`. `operation` is empty
  /// when it was not an agent's; `side` then is the side whose part of the model was worked on, or empty.
  struct FailedCall {
    std::shared_ptr<const Agent> agent;  ///< null too when the agent could not even be built
    const char* operation = "";
    std::string side;
    std::string agent_name;
  };
  const FailedCall& failed_call() const { return failed_call_; }
  /// The failure for which `normal_simulate` ended the program; null when the end had none.
  const std::exception_ptr& fatal_error() const { return fatal_error_; }

  // ---- The situation model: elements --------------------------------------------------------------------------

  /// Builds the object of a kind, gives it its attributes and registers it. False when the kind is none of the
  /// sixteen or a mission's side has no player.
  bool create_element(const Value& guid, Value info_dict, ElementType element_type, std::string_view side_name = "");
  /// The assignment at creation: every entry of the record becomes an attribute. A record that is handed over for good
  /// may be left empty.
  void set_element_info(Element& element_obj, Value info_dict);
  /// The merge of an update: known attributes only; dictionaries keep the entries the record does not carry.
  void update_element_info(Element& element_obj, const Dict& info_dict, cf::Adopt adopt = cf::Adopt::shared);
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
  using FriendViews = OrderedMap<SideView>;  // by side id
  struct DeletionPass;

  // ---- Configuration and messages ---------------------------------------------------------------------------

  void config_values(Dict game_config);
  void config_log(Dict game_config);
  void log_only(LogLevel level, std::string_view text) const { write_log(logger, level, text); }
  /// The same for a text that has to be made: without a run log nobody makes it, so that what cannot be shown is no
  /// failure then.
  template <std::invocable Text>
  void log_only(LogLevel level, const Text& text) const {
    if (logger != nullptr) write_log(logger, level, text());
  }
  /// To the run log, or to standard output when there is none.
  void log_or_print(LogLevel level, std::string_view text) const;

  // ---- Agents and episodes ----------------------------------------------------------------------------------

  void load_agent_libraries();
  std::shared_ptr<Agent> make_rule_agent(const std::string& side, const std::string& name, const Dict& entry,
                                         std::int64_t& uid);
  void config_learning_side(const std::string& side, const Dict& side_entry, std::int64_t& uid);
  void equip_agent(Agent& agent, Dict& entry, const std::string& agent_type, bool is_rule_agent);
  /// Calls into an agent; its error reaches the host, which can ask whose it was.
  void call_bare(const std::shared_ptr<Agent>& agent, const char* operation, const std::function<void()>& call);
  /// Builds an agent; its constructor's error reaches the host in the same way.
  std::shared_ptr<Agent> build(const std::string& side, const std::string& name,
                               const std::function<std::shared_ptr<Agent>()>& make);
  /// From here on an error is one of this side's part of the model; of none for an empty name.
  void work_on(std::string_view side);
  /// Calls into an agent: bare while testing, else guarded, with the trace on standard error and the message in the
  /// log. False when the agent failed.
  bool call_agent(const std::shared_ptr<Agent>& agent, const char* operation, const std::function<void()>& call,
                  LogLevel level, const std::function<std::string(const std::string& error)>& message);

  void report_finished_episode(double start);
  bool connect_once();
  bool is_room_reset_due(std::int64_t round) const;
  void clear_episode();
  bool open_scenario();
  void open_data_channel();

  struct StepTiming {
    std::string_view data_name;  // what the data time is called in the line
    std::int64_t index;
    double step, data, update;  // wall-clock seconds
  };
  bool is_timing_due(std::int64_t index) const;
  std::string timing_line(const StepTiming& timing, const StepTimes& step_times) const;

  // ---- The scheduled run ------------------------------------------------------------------------------------

  /// One guarded piece of work; the texts take the error and, for the client, the run log's path.
  struct Stage {
    std::function<void()> work;
    const char* client_text;
    const char* log_text;
  };
  void prepare(const Value& situation);
  void run_stage(const Stage& stage);
  void attempt_thrice(const std::function<void()>& work, const char* retry_text, const char* exit_text);
  void report_to_client(const char* text, const std::exception_ptr& error);
  /// Step and command failures reach the client once in the engine's life.
  void report_once(const char* text, const std::exception_ptr& error);
  void log_trace(const char* text, const std::exception_ptr& error) const;
  /// Throws `Error` when no scheduled run has made the signal.
  void set_stop_signal();
  [[noreturn]] void end_program();
  std::shared_ptr<RuleAgentBase> scheduled_player() const;
  std::optional<BatResult> end_round(Agent& agent);
  /// The larger of the client's and the agent's interval, in seconds.
  Value decision_interval_of(Agent& agent, const Value& client_interval) const;
  /// One decision with its commands; false when the client's settings could not be had.
  bool decide(RuleAgentBase& player, Agent& agent, StepTimes& step_times);
  bool request_client_settings(Agent& agent);
  void report_decision(std::int64_t decisions);

  // ---- Elements ---------------------------------------------------------------------------------------------

  bool create_scenario(const Value& guid, Value info_dict);
  bool create_side(const Value& guid, Value info_dict, std::string_view side_name);
  bool create_mission(const Value& guid, Value info_dict, ElementType type, std::string_view side_name);
  bool create_unit(const Value& guid, Value info_dict, ElementType type, std::string_view side_name);
  /// Tells the players that the element's name may be another one.
  void note_renamed(const Element& element);
  /// The registered element, or null.
  Element* find_element(std::string_view guid) const;
  Element* element_of(const Value& id) const;
  /// The elements that a table's keys stand for, null where there is none: quicker than asking for one after the other.
  /// `known`: what is known of them already, by the entries' places.
  std::vector<Element*> elements_of(const Dict& table, const std::vector<Element*>& known = {}) const;
  /// Throws `Error` when there is none.
  Scenario& known_scenario() const;

  // ---- Views ------------------------------------------------------------------------------------------------

  struct InitialCategory {
    std::string_view side_name;
    const Value& category;
    Dict& live_table;
    const Dict& position;
    bool save_position;
  };
  void join_initial_category(const InitialCategory& given, Dict& units);
  void join_initial_position(const InitialCategory& given, const Value& unit_id, Dict& unit, Dict& place);
  void join_initial_contacts(std::string_view side_name, const Dict& places, Dict& contacts);

  struct UpdateCategory {
    std::string_view side_name;
    const Value& category;
    Dict& live_table;
    const Dict& position;
    bool may_be_new;
  };
  void join_update_category(const UpdateCategory& given, SideView& view);
  void default_unit_type(const UpdateCategory& given, const Value& unit_id, Dict& unit);
  static void join_update_positions(Dict& position, Dict& units);
  void join_update_contacts(std::string_view side_name, Dict& places, const Dict* crt_contacts, Dict& contacts);

  // ---- Initial build and contact sharing --------------------------------------------------------------------

  void build_side(const Value& side_id, const std::string& side_name, const Dict& side_situation, const Dict& scen,
                  FriendViews& friend_views);
  void build_missions(std::string_view side_name, Dict& side_part);
  void build_units(std::string_view side_name, Dict& units);
  void build_scenario(const Dict& situation_data, Dict& scen, const Dict& situ);

  /// What one friend shares with one player.
  struct FriendShare {
    std::string_view side;
    RuleAgentBase& player;
    FirstContacts& own;
    const Value& friend_id;
    const Value& friend_name;
  };
  void for_each_friend(const FriendViews& views,
                       const std::function<void(const FriendShare& share, const SideView& view)>& visit);
  void share_initial_contacts(const FriendViews& views);
  void share_updated_contacts(const FriendViews& views);
  void share_updated_contact(const FriendShare& share, const Value& contact_id, const Value& fresh, Dict& record);
  /// Begins to fetch what sharing these contacts is going to read.
  void fetch_for_sharing(const FriendShare& share, std::span<const Visited> contacts, const Dict& record) const;
  /// Whether a friend's contact is new or better than what the side holds on the same unit.
  bool adopts_contact(std::string_view side, FirstContacts& own_contacts, const Dict& contact) const;

  // ---- Update merge -----------------------------------------------------------------------------------------

  void merge_side(const Value& side_id, const Dict& side_situation, const Dict& scen, FriendViews& friend_views);
  void merge_units(std::string_view side_name, SideView& view, cf::Adopt adopt);
  void merge_new_unit(std::string_view side_name, const Value& unit_id, Value info);
  void merge_missions(std::string_view side_name, Dict& side_part);
  void merge_key_messages(RuleAgentBase& player, std::string_view side_name, const Dict& messages);
  std::optional<std::int64_t> message_type(const Value& raw_type, std::string_view side_name) const;
  static void add_new_contacts(Dict& contacts, const List& messages);
  static void add_detection_records(Dict& contacts, const List& messages);

  // ---- Deletions --------------------------------------------------------------------------------------------

  void delete_non_active_units(const Dict& situation);
  void delete_in_side(const Value& side_id, const Dict& record, DeletionPass& pass);
  void delete_in_basic_part(RuleAgentBase& player, const Dict& side, DeletionPass& pass);
  void delete_listed_units(RuleAgentBase& player, const List& ids, DeletionPass& pass);
  void delete_missions(RuleAgentBase& player, const Dict& missions, DeletionPass& pass);
  void delete_in_missions(RuleAgentBase& player, const Dict& missions);
  void delete_in_cargo_missions(RuleAgentBase& player, const Dict& missions);
  void delete_in_live_part(RuleAgentBase& player, const Dict& real, DeletionPass& pass);
  static void delete_shooters(RuleAgentBase& player, const Dict& salvos);
  void delete_in_active_units(RuleAgentBase& player, const Dict& active, DeletionPass& pass);
  void delete_by_positions(RuleAgentBase& player, const Dict& positions, DeletionPass& pass);
  void delete_item(const Dict& item, RuleAgentBase& player, std::vector<std::string>& deleted);
  void delete_item_missions(const Value& category, const List& ids, RuleAgentBase& player,
                            std::vector<std::string>& deleted);
  void delete_item_units(const Value& category, const List& ids, RuleAgentBase& player,
                         std::vector<std::string>& deleted);
  void delete_item_side(const Value& attribute, const List& ids, RuleAgentBase& player,
                        std::vector<std::string>& deleted);

  Seams seams_;
  FailedCall failed_call_;  // the call that is running, or the one that failed
  std::exception_ptr fatal_error_;
  Value game_value_;                 // the service client as elements carry it
  std::shared_ptr<Deduction> link_;  // does not own; agents' callbacks hold it weakly
};

}  // namespace tessra
