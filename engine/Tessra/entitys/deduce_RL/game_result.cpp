// Names and scores of the two camps. The sides 红方 and 蓝方 are red and blue; where one or both are missing, the order
// of the configured sides decides.

#include "Tessra/entitys/deduce_RL/deduction.h"

namespace tessra {

namespace {

constexpr std::string_view kRedSide = "红方";
constexpr std::string_view kBlueSide = "蓝方";
constexpr double kPenalty = 90000.0;

/// The camps' names: by the fixed side names, else by position.
void set_camp_names(BatResult& result, const Dict& agent_names) {
  for (auto [side, name] : agent_names) {
    if (side.is_text(kRedSide)) {
      result.red_name = name.to_text();
    } else if (side.is_text(kBlueSide)) {
      result.blue_name = name.to_text();
    }
  }
  if (!result.red_name.empty() && !result.blue_name.empty()) return;
  if (!result.red_name.empty() || !result.blue_name.empty()) {
    const bool red_is_set = !result.red_name.empty();
    for (auto [side, name] : agent_names) {
      if (!side.is_text(red_is_set ? kRedSide : kBlueSide)) {
        (red_is_set ? result.blue_name : result.red_name) = name.to_text();
      }
    }
    return;
  }
  // Neither camp's side is there: the first two sides are the camps; any more play no part in the names.
  std::size_t position = 0;
  for (auto [side, name] : agent_names) {
    if (position == 0) result.red_name = name.to_text();
    if (position == 1) result.blue_name = name.to_text();
    ++position;
  }
}

/// +1 when red is at fault, -1 when blue is, 0 for a side that is no camp. A side at any later position than the
/// first counts as blue.
int camp_at_fault(std::string_view error_side, const Dict& agent_names) {
  if (error_side == kRedSide) return 1;
  if (error_side == kBlueSide) return -1;
  std::size_t position = 0;
  for (auto [side, name] : agent_names) {
    if (side.is_text(error_side)) return position == 0 ? 1 : -1;
    ++position;
  }
  return 0;
}

/// None means not known yet.
struct Scores {
  Value red;
  Value blue;
};

Value total_score(std::string_view side, RuleAgentBase& player) {
  if (player.has_attribute("TotalScore")) return player.get_attribute("TotalScore");
  throw KeyError("side '" + std::string(side) + "' has no attribute 'TotalScore': the service has reported none");
}

Scores player_scores(const OrderedMap<std::shared_ptr<RuleAgentBase>>& players, const Dict& agent_names) {
  Scores scores;
  for (const auto& [side, player] : players) {
    if (side == kRedSide) {
      scores.red = total_score(side, *player);
    } else if (side == kBlueSide) {
      scores.blue = total_score(side, *player);
    }
  }
  if (scores.red.is_none() != scores.blue.is_none()) {
    const std::string_view known = scores.red.is_none() ? kBlueSide : kRedSide;
    Value& missing = scores.red.is_none() ? scores.red : scores.blue;
    for (const auto& [side, player] : players) {
      if (side != known) missing = total_score(side, *player);
    }
    return scores;
  }
  std::size_t position = 0;
  for (auto [side, name] : agent_names) {
    if (!scores.red.is_none() && !scores.blue.is_none()) break;
    if (const auto* player = players.find(side.to_text())) {
      if (position == 0) scores.red = total_score(side.to_text(), **player);
      if (position == 1) scores.blue = total_score(side.to_text(), **player);
    }
    ++position;
  }
  return scores;
}

}  // namespace

BatResult Deduction::get_game_result(std::string_view error_side) {
  BatResult result(current_round, time_elapsed);
  set_camp_names(result, agent_names);
  if (error_side.empty()) {
    const Scores scores = player_scores(players, agent_names);
    const auto or_zero = [](const Value& score) { return score.is_none() ? Value(0) : score; };
    result.set_score(or_zero(scores.red), or_zero(scores.blue));
  } else {
    result.error_side = error_side;
    const int fault = camp_at_fault(error_side, agent_names);
    result.set_score(fault == 0 ? Value(0) : Value(-fault * kPenalty), fault == 0 ? Value(0) : Value(fault * kPenalty));
  }
  result.process_id = process_id.is_none() ? Value(1) : process_id;
  return result;
}

}  // namespace tessra
