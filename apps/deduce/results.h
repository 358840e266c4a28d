#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Tessra/entitys/data/gamedata.h"

namespace tessra {
class Deduction;
}

namespace tessra::app {

/// Outcome of a side.
struct SideOutcome {
  std::string name;
  Value score;                ///< none if the service reported none
  std::optional<int> losses;  ///< number of units; only from the bundled simulation
};

/// A played episode. Fields known only from the bundled simulation are empty with other services.
struct PlayedEpisode {
  BatResult result;
  std::int64_t steps;
  std::int64_t seed;  ///< base seed of the run
  double wall_seconds;
  std::optional<std::uint64_t> episode_seed = std::nullopt;
  std::string ended_by = {};     ///< "duration", "loss" (of a side) or "agent" (at an agent's request)
  std::string beaten_side = {};  ///< the side that lost, with "loss"
  std::vector<SideOutcome> sides = {};
  std::int64_t orders_refused = 0;
  std::int64_t calls_failed = 0;
};

/// The episode that an engine has just played, with the details known to engine and simulation. Throws `KindError`
/// naming the side whose score is not a number.
PlayedEpisode played_episode(const Deduction& engine, const BatResult& result, std::int64_t steps, std::int64_t seed,
                             double wall_seconds);

/// Simulated seconds as hours, minutes and seconds: "1:30:00".
std::string clock_text(double seconds);

/// A camp's name for tables: "(nobody)" for one that the configuration does not play.
std::string camp_text(const std::string& name);

/// "red", "blue" or "draw"; "none" if a camp is not played.
std::string_view winner_of(const BatResult& result);

/// The episode as one line of JSON, without a newline.
std::string json_line(const PlayedEpisode& episode);

/// The table's head with the names of the camps, and a row; both end with a newline.
std::string table_head(const BatResult& first);
std::string table_row(const PlayedEpisode& episode);

/// The result as a dictionary, for dumps and JSON.
Dict result_dict(const BatResult& result);

}  // namespace tessra::app
