#pragma once

#include <cstdint>
#include <string>

#include "Tessra/base/value.h"

namespace tessra {

/// The result of one episode, or of the part of it that was played before an agent failed.
struct BatResult {
  /// `round` counts episodes from 1; `seconds` are simulated.
  BatResult(std::int64_t round, double seconds) : current_round(round), time_elapsed(seconds) {}

  void set_score(Value red, Value blue) {
    red_score = std::move(red);
    blue_score = std::move(blue);
  }

  std::int64_t current_round;
  double time_elapsed;
  /// Agent names of the two camps.
  std::string red_name;
  std::string blue_name;
  /// The scores as the service reported them; numbers of any kind.
  Value red_score = 0;
  Value blue_score = 0;
  /// The side whose agent failed; empty when none did.
  std::string error_side;
  Value process_id;
};

}  // namespace tessra
