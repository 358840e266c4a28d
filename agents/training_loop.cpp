// A host that trains: it plays episodes of the skirmish, hands its action records to a learning agent, and learns from
// the scores how many of its units should press forward. Small on purpose: a bandit with one decision per episode.
//
//   training_loop [EPISODES]

#include <fmt/format.h>

#include <array>
#include <cstdlib>
#include <random>

#include "Tessra/entitys/deduce_RL/deduction.h"
#include "agents/sample_agents.h"

namespace {

using namespace tessra;

constexpr std::string_view kSide = "红方";

Dict configuration() {
  return {{"game_server",
           Dict{{"simulate", Dict{{"scenario", "skirmish"}, {"decision_interval", 10}}},
                {"server", Dict{{"seed", 1}}},
                {"RL_agents",
                 Dict{{kSide, Dict{{"enemy", "蓝方"}, {"agents", Dict{{"learner", Dict{{"class", "learner"}}}}}}}}}}},
          {"rule_config", Dict{{"蓝方", Dict{{"patrol-1", Dict{{"class", "patrol"}}}}}}}};
}

/// Orders the first `pressing` aircraft and ships against the first contacts known; the others wait.
Dict choose_actions(const Situation& situation, int pressing) {
  Dict actions;
  const Dict contacts = situation.contacts();
  for (const auto* table : {&situation.aircrafts(), &situation.ships()}) {
    for (const auto& [unit_id, unit] : *table) {
      for (auto [contact_id, contact] : contacts) {
        if (contact.as_dict().get("Type") != unit->get_attribute("UnitType")) continue;
        if (pressing-- > 0) {
          actions.set(unit_id, Dict{{"_agent_type_", "learner"}, {"order", "attack"}, {"contact", contact_id}});
        }
        break;
      }
    }
  }
  return actions;
}

/// Plays one episode; returns the learner's score less its enemy's.
double play(Deduction& engine, int episode, int pressing) {
  if (engine.reset(episode) != 1) throw Error("the episode did not start");
  const Situation& situation = engine.players.at(kSide)->get_situation();
  while (true) {
    const StepOutcome outcome = engine.step(choose_actions(situation, pressing));
    if (const auto* result = std::get_if<BatResult>(&outcome)) {
      return result->red_score.as_real() - result->blue_score.as_real();
    }
  }
}

struct Arm {
  int plays = 0;
  double sum = 0;
  double mean() const { return plays > 0 ? sum / plays : 0; }
};

}  // namespace

int main(int argc, char** argv) {
  const int episodes = argc > 1 ? std::atoi(argv[1]) : 30;
  register_sample_agents(AgentRegistry::instance());
  Deduction engine(configuration());
  std::array<Arm, 4> arms;  // index: how many units press forward
  std::mt19937_64 random(7);
  for (int episode = 1; episode <= episodes; ++episode) {
    // Every arm once, then mostly the best one.
    std::size_t choice = static_cast<std::size_t>(episode - 1) % arms.size();
    if (static_cast<std::size_t>(episode) > arms.size()) {
      choice = random() % arms.size();
      if (random() % 5 != 0) {
        for (std::size_t i = 0; i < arms.size(); ++i) choice = arms[i].mean() > arms[choice].mean() ? i : choice;
      }
    }
    const double gain = play(engine, episode, static_cast<int>(choice));
    arms[choice].sum += gain;
    ++arms[choice].plays;
    fmt::print("episode {:3}: {} units pressing, gain {:8.1f}\n", episode, choice, gain);
  }
  for (std::size_t i = 0; i < arms.size(); ++i) {
    fmt::print("{} units: played {:3} times, mean gain {:8.1f}\n", i, arms[i].plays, arms[i].mean());
  }
  return 0;
}
