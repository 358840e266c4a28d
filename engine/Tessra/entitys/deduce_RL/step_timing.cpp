#include "Tessra/entitys/deduce_RL/step_timing.h"

#include <fmt/printf.h>

#include <cmath>

namespace tessra {

bool is_timing_due(const Settings& settings, std::int64_t index) {
  const double every = settings.step_interval.as_real();
  return every > 0 && (every == 1 || std::fmod(static_cast<double>(index), every) == 0);
}

std::string timing_line(const Deduction& engine, const StepTiming& timing, const StepTimes& step_times) {
  std::string decisions;
  for (const auto& [name, seconds] : step_times) decisions += fmt::sprintf("%s step:%.3lfs, ", name, seconds);
  const std::string line = fmt::sprintf("round:%d, time:%ds, step index:%d, step:%.3lfs, %s:%.3lfs, update:%.3lfs, %s",
                                        engine.current_round, whole_number(engine.time_elapsed), timing.index,
                                        timing.step, timing.data_name, timing.data, timing.update, decisions);
  return engine.process_id.is_none() ? line : fmt::sprintf("process:%d, ", whole_number(engine.process_id)) + line;
}

}  // namespace tessra
