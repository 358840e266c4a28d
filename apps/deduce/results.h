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

/// How a side did.
struct SideOutcome {
  std::string name;
  Value score;                ///< none when the service gave none
  std::optional<int> losses;  ///< units; none when the service does not say
};

/// One played episode. What only the bundled simulation tells is none with other services.
struct PlayedEpisode {
  BatResult result;
  std::int64_t steps;
  std::int64_t seed;  ///< the run's base seed
  double wall_seconds;
  std::optional<std::uint64_t> episode_seed = std::nullopt;  ///< the episode's own
  std::string ended_by = {};     ///< "duration", "loss" (of a side) or "agent" (one asked for it)
  std::string beaten_side = {};  ///< whose loss it was
  std::vector<SideOutcome> sides = {};
  std::int64_t orders_refused = 0;
  std::int64_t calls_failed = 0;
};

/// Completes the episode that an engine has just played by what engine and simulation know of it. Throws `KindError`
/// naming the side whose score is no number.
PlayedEpisode played_episode(const Deduction& engine, const BatResult& result, std::int64_t steps, std::int64_t seed,
                             double wall_seconds);

/// Simulated seconds as hours, minutes and seconds: "1:30:00".
std::string clock_text(double seconds);

/// A camp's name as tables show it: "(nobody)" for one that the configuration does not play.
std::string camp_text(const std::string& name);

/// "red", "blue" or "draw"; "none" when a camp is nobody's.
std::string_view winner_of(const BatResult& result);

/// The episode as one line of JSON, without the line's end.
std::string json_line(const PlayedEpisode& episode);

/// The table's head, with the names of the camps, and its rows, each with the line's end.
std::string table_head(const BatResult& first);
std::string table_row(const PlayedEpisode& episode);

/// The result as a dictionary, for dumps and JSON.
Dict result_dict(const BatResult& result);

}  // namespace tessra::app
