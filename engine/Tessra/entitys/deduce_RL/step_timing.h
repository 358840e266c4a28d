#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "Tessra/entitys/deduce_RL/deduction.h"

// The run log's line about the wall-clock time of a step.

namespace tessra {

struct StepTiming {
  std::string_view data_name;  // what the data time is called in the line
  std::int64_t index;
  double step, data, update;  // wall-clock seconds
};

/// Whether this step is to be logged.
bool is_timing_due(const Settings& settings, std::int64_t index);
/// Throws `KindError` when the process id is no number.
std::string timing_line(const Deduction& engine, const StepTiming& timing, const StepTimes& step_times);

}  // namespace tessra
