#include <fmt/printf.h>

#include <cmath>

#include "Tessra/entitys/deduce_RL/deduction.h"

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

}  // namespace

int Deduction::reset(std::int64_t round) {
  failed_call_ = {};
  const double start = seams_.clock->now();
  if (!train_start_time) train_start_time = start;
  if (current_round > 1) report_finished_episode(start);
  last_round_start_time = start;
  ++current_round;

  if (!connect_once()) return kNoConnection;
  if (error_room_flag != kNewRoom && round > 1 && is_room_reset_due(round)) error_room_flag = kNewRoom;
  const Value reset_result = game->reset(error_room_flag);
  if (reset_result == Value(-1)) {
    log_or_print(LogLevel::info, "推演服务连接失败，再次连接!");
    error_room_flag = kFailed;
    return kRoomFailed;
  }
  room_id = game->room_id;
  if (round >= 0) clear_episode();
  if (load_scen.truthy() && !open_scenario()) return kNoScenario;

  const bool open_channel = reset_result == Value(2) || init_connect_data;
  if (open_channel) open_data_channel();
  const Value situation = game->get_init_situation();
  if (!situation.truthy()) {
    error_room_flag = kNewRoom;
    return kNoSituation;
  }
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

void Deduction::report_finished_episode(double start) {
  const double total = start - *train_start_time;
  const std::int64_t episode_seconds = whole_number(start - last_round_start_time.value());
  const std::int64_t average = whole_number(total / static_cast<double>(current_round));
  if (process_id.is_none()) {
    log_or_print(LogLevel::info, fmt::sprintf("第%d局结束, 当前局耗时:%ds, 总耗时:%ds, 平均每局耗时:%ds.",
                                              current_round, episode_seconds, whole_number(total), average));
  } else {
    log_or_print(LogLevel::info,
                 fmt::sprintf("进程:%d, 第%d局结束, 当前局耗时:%ds, 总耗时:%ds, 平均每局耗时:%ds.",
                              whole_number(process_id), current_round, episode_seconds, whole_number(total), average));
  }
}

bool Deduction::connect_once() {
  if (!connect_result.is_none()) return true;
  connect_result = init_connect_server();
  if (connect_result.is_none()) return false;
  game->check_clean_rooms();
  return true;
}

bool Deduction::is_room_reset_due(std::int64_t round) const {
  if (!reset_episodes.is_number()) throw KindError("simulate.reset_episodes must be a number");
  const double every = reset_episodes.as_real();
  if (every == 0) throw ConversionError("simulate.reset_episodes is zero");
  return std::fmod(static_cast<double>(round), every) == 0;
}

void Deduction::clear_episode() {
  deduce_is_end = false;
  simulate_time.clear();
  time_elapsed = 0;
  agent_reset();
  crt_delete_units = TextSet();
  elements = ElementTable();
  scenario_obj = nullptr;
  side_id2name = Dict();
  step_index = 0;
  orders_refused = 0;
  calls_failed = 0;
  start_game_time_elapsed.reset();
}

bool Deduction::open_scenario() {
  if (scen_check.truthy() && !scenario_exists(scenario_name)) {
    log_or_print(LogLevel::info, process_id.is_none()
                                     ? fmt::sprintf("想定'%s'加载失败,请检查想定文件是否存在!", scenario_name.to_text())
                                     : fmt::sprintf("想定'%s'加载失败,进程%d,请检查想定文件是否存在!",
                                                    scenario_name.to_text(), whole_number(process_id)));
    return false;
  }
  if (load_scenario(scenario_name)) return true;
  error_room_flag = kFailed;
  return false;
}

void Deduction::open_data_channel() {
  const Value received = game->set_data_receive();
  // Taken as it is: what is wrong in it fails where the build reads it. What is no table is asked for again.
  if (!sides_info.is_dict()) need_set_friend_side = true;
  if (!sides_info.is_dict() || !sides_info.truthy()) sides_info = received;
  if (need_set_friend_side) init_friend_sides();
  game->request_full_situation();
}

}  // namespace tessra
