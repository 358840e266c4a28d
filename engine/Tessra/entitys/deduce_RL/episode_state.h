#pragma once

#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>

#include "Tessra/base/ordered_map.h"
#include "Tessra/base/stop_event.h"
#include "Tessra/base/value.h"
#include "Tessra/entitys/agent_base.h"
#include "Tessra/entitys/data/gamedata.h"
#include "Tessra/entitys/gameenvs/gameserver.h"
#include "Tessra/entitys/scenario.h"

namespace tessra {

struct TextHash {
  using is_transparent = void;
  std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>{}(text); }
};
using TextSet = std::unordered_set<std::string, TextHash, std::equal_to<>>;

/// The call to an agent, or the part of the model, in which an error occurred.
struct FailedCall {
  /// Null if no agent was involved or its constructor failed.
  std::shared_ptr<const Agent> agent;
  /// The operation of `Agent`, or "constructor"; empty if no agent was involved.
  const char* operation = "";
  /// The side of the agent or of the part of the model; may be empty.
  std::string side;
  std::string agent_name;
};

/// What the engine knows of the running episode, and what it keeps between episodes.
struct EpisodeState {
  // Agents and players; they live for the engine's whole life.

  /// Side → agents created for it, each list shared with the side's player.
  OrderedMap<std::shared_ptr<AgentList>> agents;
  OrderedMap<std::shared_ptr<RuleAgentBase>> players;
  /// Side → the name shown in results.
  Dict agent_names;
  /// Side → list of agent names and types. In standard mode it is the configuration's entry `agents_side` itself.
  Dict agents_side_config;

  // The clock.

  /// The service reported the end of the deduction.
  bool deduce_is_end = false;
  /// The scenario's date and time as text.
  std::string simulate_time;
  /// Simulated seconds of the episode, now and at its first update.
  double time_elapsed = 0;
  std::optional<double> start_game_time_elapsed;
  /// Milliseconds since 1970.
  std::int64_t simulate_timestamp = 0;
  /// Number of the current episode, counted from 1; failed starts count.
  std::int64_t current_round = 0;
  std::int64_t step_index = 0;
  /// Since the episode started: orders the service refused, and calls into agents that failed and were only logged.
  std::int64_t orders_refused = 0;
  std::int64_t calls_failed = 0;

  // Failures.

  /// Where the error occurred that reached the host from the last `reset`, `step` or `normal_simulate`.
  FailedCall failed_call;
  /// The failure for which `normal_simulate` ended the program; null if there was none.
  std::exception_ptr fatal_error;

  // The situation model.

  /// Guid → element. The guid of a side maps to its player.
  ElementTable elements;
  std::shared_ptr<Scenario> scenario_obj;
  /// Guids of the units deleted so far in the episode.
  TextSet crt_delete_units;
  Value bat_list;  // not consulted
  /// Side id → side name.
  Dict side_id2name;
  /// Unit id → its position record at the episode's start; kept between episodes.
  Dict init_units;
  /// Side id → {`Name`, `Friend`: side ids whose posture toward the side is friendly}.
  Value sides_info = Dict();
  /// Ids of the sides friendly to a side with agents, and whether they still have to be found.
  TextSet friend_side_set;
  bool need_set_friend_side = true;
  /// Friend side id → contact id → the fullest known form of that friend's contact.
  Dict friend_side_contacts;

  // The service.

  std::shared_ptr<GameServer> game;
  /// The data channel still has to be opened.
  bool init_connect_data = true;
  /// Handed to the room reset: 0 the previous start succeeded, 1 it failed, 2 start the room anew.
  int error_room_flag = 0;
  /// Result of the last connection attempt.
  Value connect_result;
  /// Wall-clock seconds of the first and of the previous episode start.
  std::optional<double> train_start_time;
  std::optional<double> last_round_start_time;

  // The scheduled run (AI-apply mode).

  /// Stop signal shared with the service client.
  std::shared_ptr<StopEvent> main_exit_event;
  /// The run log's file; empty until it is set up.
  std::string log_file_path;
  /// A step or command failure has been reported to the client; later ones are only logged.
  bool step_log_out = false;
  /// The round's result as soon as there is one, and its row in the results database; 0 when it is not saved.
  std::optional<BatResult> round_result;
  std::int64_t saved_result = 0;
};

}  // namespace tessra
