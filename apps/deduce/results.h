#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Tessra/entitys/data/gamedata.h"

namespace tessra::app {

/// One played episode.
struct PlayedEpisode {
  BatResult result;
  std::int64_t steps;
  std::int64_t seed;
  double wall_seconds;
};

/// Simulated seconds as hours, minutes and seconds: "1:30:00".
std::string clock_text(double seconds);

/// The episode as one line of JSON.
std::string json_line(const PlayedEpisode& episode);

/// All episodes as a table with a line of sums.
std::string result_table(const std::vector<PlayedEpisode>& episodes);

/// The result as a dictionary, for dumps and JSON.
Dict result_dict(const BatResult& result);

}  // namespace tessra::app
