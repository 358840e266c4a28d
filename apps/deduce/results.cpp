#include "apps/deduce/results.h"

#include <fmt/format.h>

#include <cmath>

#include "Tessra/base/json_write.h"
#include "Tessra/entitys/deduce_RL/deduction.h"
#include "services/embedded_server.h"
#include "simulation/records.h"
#include "simulation/simulation.h"
#include "simulation/world.h"

namespace tessra::app {

namespace {

std::string_view reason_name(sim::EndReason reason) {
  switch (reason) {
    case sim::EndReason::duration:
      return "duration";
    case sim::EndReason::loss:
      return "loss";
    case sim::EndReason::asked:
      return "agent";
    case sim::EndReason::none:
      break;
  }
  return "";
}

/// Details that only the bundled simulation knows.
void add_truth(PlayedEpisode& episode, const sim::Simulation& simulation) {
  const sim::EpisodeEnd end = simulation.why_ended();
  episode.ended_by = reason_name(end.reason);
  episode.beaten_side = end.side;
  episode.episode_seed = sim::episode_seed(static_cast<std::uint64_t>(episode.seed),
                                           static_cast<std::uint64_t>(episode.result.current_round));
  for (const sim::SideState& side : simulation.world().sides) {
    episode.sides.push_back({side.setup->name, sim::record_number(side.score), side.units_lost});
  }
}

/// The outcome of the sides as far as the engine knows it, for other services.
void add_players(PlayedEpisode& episode, const Deduction& engine) {
  for (const auto& [side, player] : engine.players) {
    episode.sides.push_back({std::string(side), player->attributes().get("TotalScore"), std::nullopt});
  }
}

/// Scores are attributes of the sides, in which an agent may have stored anything.
void check_scores(const Deduction& engine) {
  for (const auto& [side, player] : engine.players) {
    const Value score = player->attributes().get("TotalScore");
    if (score.is_none() || (score.is_number() && std::isfinite(score.as_real()))) continue;
    throw KindError(fmt::format("side '{}': 'TotalScore' must be a number, is {}", side, score.to_text()));
  }
}

}  // namespace

PlayedEpisode played_episode(const Deduction& engine, const BatResult& result, std::int64_t steps, std::int64_t seed,
                             double wall_seconds) {
  check_scores(engine);
  PlayedEpisode episode{result, steps, seed, wall_seconds};
  episode.orders_refused = engine.orders_refused;
  episode.calls_failed = engine.calls_failed;
  if (const auto* simulation = simulation_of(*engine.game)) {
    add_truth(episode, *simulation);
  } else {
    add_players(episode, engine);
  }
  return episode;
}

std::string clock_text(double seconds) {
  const auto whole = static_cast<std::int64_t>(seconds);
  return fmt::format("{}:{:02}:{:02}", whole / 3600, whole / 60 % 60, whole % 60);
}

std::string camp_text(const std::string& name) { return name.empty() ? "(nobody)" : name; }

std::string_view winner_of(const BatResult& result) {
  if (result.red_name.empty() || result.blue_name.empty()) return "none";
  const double red = result.red_score.as_real();
  const double blue = result.blue_score.as_real();
  return red == blue ? "draw" : red > blue ? "red" : "blue";
}

namespace {

Dict sides_dict(const PlayedEpisode& episode) {
  Dict sides;
  for (const SideOutcome& side : episode.sides) {
    Dict entry{{"score", side.score}};
    if (side.losses) entry.set("losses", *side.losses);
    sides.set(side.name, entry);
  }
  return sides;
}

}  // namespace

std::string json_line(const PlayedEpisode& episode) {
  const BatResult& result = episode.result;
  Dict line{{"round", result.current_round},       {"red_name", result.red_name},     {"blue_name", result.blue_name},
            {"red_score", result.red_score},       {"blue_score", result.blue_score}, {"winner", winner_of(result)},
            {"time_elapsed", result.time_elapsed}, {"steps", episode.steps},          {"seed", episode.seed}};
  // As text: many JSON parsers read numbers as doubles, which lose digits beyond 53 bits.
  if (episode.episode_seed) line.set("episode_seed", std::to_string(*episode.episode_seed));
  if (!episode.ended_by.empty()) line.set("ended_by", episode.ended_by);
  if (!episode.beaten_side.empty()) line.set("beaten_side", episode.beaten_side);
  line.set("sides", sides_dict(episode));
  line.set("orders_refused", episode.orders_refused);
  line.set("calls_failed", episode.calls_failed);
  return write_json(line);
}

Dict result_dict(const BatResult& result) {
  return {{"round", result.current_round},   {"red_name", result.red_name},     {"blue_name", result.blue_name},
          {"red_score", result.red_score},   {"blue_score", result.blue_score}, {"time_elapsed", result.time_elapsed},
          {"error_side", result.error_side}, {"process_id", result.process_id}};
}

namespace {

constexpr std::string_view kHead = "{:>7}  {:>10}  {:>10}  {:<6}  {:>7}  {:>6}  {:>7}  {}\n";
constexpr std::string_view kRow = "{:>7}  {:>10.1f}  {:>10.1f}  {:<6}  {:>7}  {:>6}  {:>7.2f}  {}\n";

std::string end_text(const PlayedEpisode& episode) {
  if (episode.ended_by == "loss") return "loss of " + episode.beaten_side;
  if (episode.ended_by == "agent") return "an agent's wish";
  return episode.ended_by;
}

}  // namespace

std::string table_head(const BatResult& first) {
  return fmt::format("red: {}   blue: {}\n\n", camp_text(first.red_name), camp_text(first.blue_name)) +
         fmt::format(kHead, "episode", "red score", "blue score", "winner", "time", "steps", "wall s", "ended by");
}

std::string table_row(const PlayedEpisode& episode) {
  const BatResult& result = episode.result;
  std::string row = fmt::format(kRow, result.current_round, result.red_score.as_real(), result.blue_score.as_real(),
                                winner_of(result), clock_text(result.time_elapsed), episode.steps, episode.wall_seconds,
                                end_text(episode));
  row.erase(row.find_last_not_of(" \n") + 1);  // no trailing blanks if the reason is unknown
  return row + "\n";
}

}  // namespace tessra::app
