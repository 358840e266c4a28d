// The start of an episode: connection, room, scenario, initial situation, agents. Every failure has its return code and
// sets the flag that the next start passes to the service.

#include <fmt/printf.h>

#include <cmath>

#include "Tessra/entitys/deduce_RL/messages.h"

namespace tessra {

namespace {

enum ResetCode {
  kReady = 1,
  kNoConnection = 0,
  kRoomFailed = -1,
  kNoScenario = -2,
  kNoSituation = -3,
  kBadSituation = -4,
};

enum RoomFlag { kSucceeded = 0, kFailed = 1, kNewRoom = 2 };

void report_finished_episode(Deduction& engine, double start) {
  const double total = start - *engine.train_start_time;
  const std::int64_t episode_seconds = whole_number(start - engine.last_round_start_time.value());
  const std::int64_t average = whole_number(total / static_cast<double>(engine.current_round));
  if (engine.process_id.is_none()) {
    log_or_print(engine, LogLevel::info,
                 fmt::sprintf("第%d局结束, 当前局耗时:%ds, 总耗时:%ds, 平均每局耗时:%ds.", engine.current_round,
                              episode_seconds, whole_number(total), average));
  } else {
    log_or_print(engine, LogLevel::info,
                 fmt::sprintf("进程:%d, 第%d局结束, 当前局耗时:%ds, 总耗时:%ds, 平均每局耗时:%ds.",
                              whole_number(engine.process_id), engine.current_round, episode_seconds,
                              whole_number(total), average));
  }
}

bool connect_once(Deduction& engine) {
  if (!engine.connect_result.is_none()) return true;
  engine.connect_result = engine.init_connect_server();
  if (engine.connect_result.is_none()) return false;
  engine.game->check_clean_rooms();
  return true;
}

bool is_room_reset_due(Deduction& engine, std::int64_t round) {
  if (!engine.reset_episodes.is_number()) throw KindError("simulate.reset_episodes must be a number");
  const double every = engine.reset_episodes.as_real();
  if (every == 0) throw ConversionError("simulate.reset_episodes is zero");
  return std::fmod(static_cast<double>(round), every) == 0;
}

void clear_episode(Deduction& engine) {
  engine.deduce_is_end = false;
  engine.simulate_time.clear();
  engine.time_elapsed = 0;
  engine.agent_reset();
  engine.crt_delete_units = TextSet();
  engine.elements = ElementTable();
  engine.scenario_obj = nullptr;
  engine.side_id2name = Dict();
  engine.step_index = 0;
  engine.orders_refused = 0;
  engine.calls_failed = 0;
  engine.start_game_time_elapsed.reset();
}

bool open_scenario(Deduction& engine) {
  if (engine.scen_check.truthy() && !engine.scenario_exists(engine.scenario_name)) {
    log_or_print(engine, LogLevel::info,
                 engine.process_id.is_none()
                     ? fmt::sprintf("想定'%s'加载失败,请检查想定文件是否存在!", engine.scenario_name.to_text())
                     : fmt::sprintf("想定'%s'加载失败,进程%d,请检查想定文件是否存在!", engine.scenario_name.to_text(),
                                    whole_number(engine.process_id)));
    return false;
  }
  if (engine.load_scenario(engine.scenario_name)) return true;
  engine.error_room_flag = kFailed;
  return false;
}

void open_data_channel(Deduction& engine) {
  const Value received = engine.game->set_data_receive();
  // Taken as it is: what is wrong in it fails where the build reads it. What is no table is asked for again.
  if (!engine.sides_info.is_dict()) engine.need_set_friend_side = true;
  if (!engine.sides_info.is_dict() || !engine.sides_info.truthy()) engine.sides_info = received;
  if (engine.need_set_friend_side) engine.init_friend_sides();
  engine.game->request_full_situation();
}

}  // namespace

int Deduction::reset(std::int64_t round) {
  failed_call = {};
  const double start = seams_.clock->now();
  if (!train_start_time) train_start_time = start;
  if (current_round > 1) report_finished_episode(*this, start);
  last_round_start_time = start;
  ++current_round;  // also for starts that fail below

  if (!connect_once(*this)) return kNoConnection;
  if (error_room_flag != kNewRoom && round > 1 && is_room_reset_due(*this, round)) error_room_flag = kNewRoom;
  const Value reset_result = game->reset(error_room_flag);
  if (reset_result == Value(-1)) {
    log_or_print(*this, LogLevel::info, "推演服务连接失败，再次连接!");
    error_room_flag = kFailed;
    return kRoomFailed;
  }
  room_id = game->room_id;
  if (round >= 0) clear_episode(*this);  // a negative number continues with the model as it is
  if (load_scen.truthy() && !open_scenario(*this)) return kNoScenario;

  const bool open_channel = reset_result == Value(2) || init_connect_data;
  if (open_channel) open_data_channel(*this);
  const Value situation = game->get_init_situation();
  if (!situation.truthy()) {
    error_room_flag = kNewRoom;
    return kNoSituation;
  }
  // Once per engine: agents live as long as it does.
  if (agents.empty()) config_agent(rule_agent_config, rl_agent_config);
  if (!process_init_situation(situation)) {
    error_room_flag = kFailed;
    return kBadSituation;
  }
  init_connect_data = false;
  if (is_main_client.truthy() && need_compression.truthy()) set_simulate_compression(compression);

  rl_agents_config_id();
  players_update_attribute();
  player_init();
  cmd_package();
  error_room_flag = kSucceeded;
  return kReady;
}

}  // namespace tessra
