#include <fmt/printf.h>

#include <cmath>

#include "Tessra/entitys/deduce_RL/deduction.h"

namespace tessra {

StepOutcome Deduction::step(Dict action_dict) {
  failed_call_ = {};
  ++step_index;
  const double start = seams_.clock->now();
  const auto decided = agents_step(std::move(action_dict));
  cmd_package();
  game->run_simulate();
  const Value update = game->get_step_situation();
  const double data_time = seams_.clock->now() - start;
  if (!update.truthy()) {
    log_or_print(LogLevel::error, "没有获取到态势数据");
    return std::monostate();
  }
  process_step_situation(update);
  const double update_time = seams_.clock->now() - start - data_time;
  if (is_done()) {
    agents_end();
    cmd_package();
    return get_game_result();
  }
  const auto* step_times = std::get_if<StepTimes>(&decided);
  if (step_times == nullptr) return 1;
  if (logger != nullptr && is_timing_due(step_index)) {
    const double step_time = seams_.clock->now() - start;
    log_only(LogLevel::info, timing_line({"simulate", step_index, step_time, data_time, update_time}, *step_times));
  }
  if (is_training.truthy()) {
    const auto answer = agents_check_end();
    if (const bool* ends = std::get_if<bool>(&answer); ends != nullptr && *ends) game->simulate_end();
  }
  return 1;
}

bool Deduction::is_timing_due(std::int64_t index) const {
  const double every = step_interval.as_real();
  return every > 0 && (every == 1 || std::fmod(static_cast<double>(index), every) == 0);
}

std::string Deduction::timing_line(const StepTiming& timing, const StepTimes& step_times) const {
  std::string decisions;
  for (const auto& [name, seconds] : step_times) decisions += fmt::sprintf("%s step:%.3lfs, ", name, seconds);
  const std::string line = fmt::sprintf("round:%d, time:%ds, step index:%d, step:%.3lfs, %s:%.3lfs, update:%.3lfs, %s",
                                        current_round, whole_number(time_elapsed), timing.index, timing.step,
                                        timing.data_name, timing.data, timing.update, decisions);
  return process_id.is_none() ? line : fmt::sprintf("process:%d, ", whole_number(process_id)) + line;
}

}  // namespace tessra
