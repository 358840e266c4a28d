#include "apps/deduce/results.h"

#include <fmt/format.h>

#include "Tessra/base/json_write.h"

namespace tessra::app {

std::string clock_text(double seconds) {
  const auto whole = static_cast<std::int64_t>(seconds);
  return fmt::format("{}:{:02}:{:02}", whole / 3600, whole / 60 % 60, whole % 60);
}

std::string json_line(const PlayedEpisode& episode) {
  const BatResult& result = episode.result;
  return write_json(Dict{{"round", result.current_round},
                         {"red_name", result.red_name},
                         {"blue_name", result.blue_name},
                         {"red_score", result.red_score},
                         {"blue_score", result.blue_score},
                         {"time_elapsed", result.time_elapsed},
                         {"steps", episode.steps},
                         {"seed", episode.seed}});
}

Dict result_dict(const BatResult& result) {
  return {{"round", result.current_round},   {"red_name", result.red_name},     {"blue_name", result.blue_name},
          {"red_score", result.red_score},   {"blue_score", result.blue_score}, {"time_elapsed", result.time_elapsed},
          {"error_side", result.error_side}, {"process_id", result.process_id}};
}

namespace {

enum class Winner { red, blue, none };

Winner winner_of(const BatResult& result) {
  const double red = result.red_score.as_real();
  const double blue = result.blue_score.as_real();
  if (red == blue) return Winner::none;
  return red > blue ? Winner::red : Winner::blue;
}

std::string row(const PlayedEpisode& episode) {
  const BatResult& result = episode.result;
  const Winner winner = winner_of(result);
  return fmt::format("{:>7}  {:>10.1f}  {:>10.1f}  {:<6}  {:>7}  {:>6}  {:>7.2f}\n", result.current_round,
                     result.red_score.as_real(), result.blue_score.as_real(),
                     winner == Winner::none  ? "draw"
                     : winner == Winner::red ? "red"
                                             : "blue",
                     clock_text(result.time_elapsed), episode.steps, episode.wall_seconds);
}

}  // namespace

std::string result_table(const std::vector<PlayedEpisode>& episodes) {
  if (episodes.empty()) return "no episode was played to its end\n";
  const BatResult& first = episodes.front().result;
  std::string table =
      fmt::format("red: {}   blue: {}\n\n{:>7}  {:>10}  {:>10}  {:<6}  {:>7}  {:>6}  {:>7}\n", first.red_name,
                  first.blue_name, "episode", "red score", "blue score", "winner", "time", "steps", "wall s");
  int red = 0;
  int blue = 0;
  for (const PlayedEpisode& episode : episodes) {
    table += row(episode);
    const Winner winner = winner_of(episode.result);
    red += winner == Winner::red ? 1 : 0;
    blue += winner == Winner::blue ? 1 : 0;
  }
  return table + fmt::format("\nred won {}, blue won {} of {}\n", red, blue, episodes.size());
}

}  // namespace tessra::app
