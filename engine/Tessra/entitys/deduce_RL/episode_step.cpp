#include "Tessra/entitys/deduce_RL/messages.h"
#include "Tessra/entitys/deduce_RL/step_timing.h"

namespace tessra {

StepOutcome Deduction::step(Dict action_dict) {
  failed_call = {};
  ++step_index;
  const double start = seams_.clock->now();
  // A failed agent ends the decisions of this step, not the step: commands given so far are sent, time advances.
  const auto decided = agents_step(std::move(action_dict));
  cmd_package();
  game->run_simulate();
  const Value update = game->get_step_situation();
  const double data_time = seams_.clock->now() - start;
  if (!update.truthy()) {
    log_or_print(*this, LogLevel::error, "没有获取到态势数据");
    return std::monostate();
  }
  process_step_situation(update);
  const double update_time = seams_.clock->now() - start - data_time;
  if (is_done()) {
    agents_end();
    cmd_package();  // what agents ordered in `deduction_end`
    return get_game_result();
  }
  const auto* step_times = std::get_if<StepTimes>(&decided);
  if (step_times == nullptr) return 1;
  if (logger != nullptr && is_timing_due(*this, step_index)) {
    const double step_time = seams_.clock->now() - start;
    log_only(*this, LogLevel::info,
             timing_line(*this, {"simulate", step_index, step_time, data_time, update_time}, *step_times));
  }
  if (is_training.truthy()) {
    const auto answer = agents_check_end();
    if (const bool* ends = std::get_if<bool>(&answer); ends != nullptr && *ends) game->simulate_end();
  }
  return 1;
}

}  // namespace tessra
