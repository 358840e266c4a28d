// A training host: it plays episodes of the skirmish, passes action records to a learning agent, and learns from the
// scores which tactic pays. Small on purpose: a multi-armed bandit with one decision per episode.
//
//   training_loop [EPISODES [SEED]]

#include <fmt/format.h>
#include <spdlog/logger.h>
#include <spdlog/sinks/null_sink.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <limits>
#include <optional>

#include "Tessra/entitys/deduce_RL/deduction.h"
#include "Tessra/entitys/gameunit.h"
#include "Tessra/entitys/geo.h"
#include "agents/sample_agents.h"

namespace {

using namespace tessra;

constexpr std::string_view kSide = "红方";

/// A tactic: when units fire on their own, and what they are sent against.
struct Policy {
  const char* name;
  const char* control;
  std::vector<ContactType> targets;
};

const std::array<Policy, 6> kPolicies = {{
    {"hold fire", "hold", {}},
    {"fire back", "tight", {}},
    {"fire at what comes near", "free", {}},
    {"hunt aircraft", "free", {ContactType::aircraft}},
    {"hunt ships", "free", {ContactType::ship}},
    {"hunt everything", "free", {ContactType::aircraft, ContactType::ship, ContactType::facility}},
}};

struct Gains {
  int plays = 0;
  double sum = 0;

  void add(double gain) {
    ++plays;
    sum += gain;
  }
  double mean() const { return plays > 0 ? sum / plays : 0; }
};

Dict configuration(int seed) {
  auto silence = std::make_shared<spdlog::logger>("training", std::make_shared<spdlog::sinks::null_sink_mt>());
  return {{"game_server",
           Dict{{"simulate", Dict{{"scenario", "skirmish"}, {"decision_interval", 10}}},
                {"server", Dict{{"seed", seed}}},
                {"logger", silence},
                {"RL_agents",
                 Dict{{kSide, Dict{{"enemy", "蓝方"}, {"agents", Dict{{"learner", Dict{{"class", "learner"}}}}}}}}}}},
          {"rule_config", Dict{{"蓝方", Dict{{"patrol-1", Dict{{"class", "patrol"}}}}}}}};
}

/// The nearest contact that the policy targets and the unit's weapons can hit; empty if there is none.
std::optional<Contact> target_for(const GameUnit& unit, const Policy& policy, const Situation& situation) {
  std::optional<Contact> nearest;
  double nearest_distance = std::numeric_limits<double>::infinity();
  for (const Contact& contact : situation.contact_list()) {
    const auto place = contact.position();
    if (!place || std::ranges::find(policy.targets, contact.type()) == policy.targets.end()) continue;
    const double distance = distance_between(unit.position(), *place);
    if (unit.weapon_reach(*contact.type()) <= 0 || distance >= nearest_distance) continue;
    nearest = contact;
    nearest_distance = distance;
  }
  return nearest;
}

/// The action records of one decision, by unit: weapon control in the first decision, attacks later.
Dict choose_actions(const Situation& situation, const Policy& policy, bool first) {
  Dict actions;
  for (const auto* table : {&situation.aircrafts(), &situation.ships()}) {
    for (const auto& [unit_id, element] : *table) {
      const auto& unit = dynamic_cast<const GameUnit&>(*element);
      if (first) {
        actions.set(unit_id, Dict{{"_agent_type_", "learner"}, {"order", "control"}, {"control", policy.control}});
      } else if (const auto target = target_for(unit, policy, situation)) {
        actions.set(unit_id, Dict{{"_agent_type_", "learner"}, {"order", "attack"}, {"contact", target->id()}});
      }
    }
  }
  return actions;
}

/// Plays one episode; returns the learner's score minus its enemy's.
double play(Deduction& engine, int episode, const Policy& policy) {
  if (engine.reset(episode) != 1) throw Error("the episode did not start");
  const Situation& situation = engine.players.at(kSide)->get_situation();
  for (bool first = true;; first = false) {
    const StepOutcome outcome = engine.step(choose_actions(situation, policy, first));
    if (const auto* result = std::get_if<BatResult>(&outcome)) {
      return result->red_score.as_real() - result->blue_score.as_real();
    }
  }
}

/// The mean gain of each policy so far.
class Bandit {
 public:
  /// Number of episodes that try all policies in turn: several each, since the result of one is mostly chance.
  static constexpr int kTrials = 5 * static_cast<int>(kPolicies.size());

  /// Each policy in turn during the trials, then the best so far. Its mean is still updated, so that a policy that was
  /// merely lucky is abandoned again.
  std::size_t choose(int episode) const {
    return episode <= kTrials ? static_cast<std::size_t>(episode - 1) % arms_.size() : best();
  }
  void learn(std::size_t choice, double gain) { arms_[choice].add(gain); }
  void report() const {
    for (std::size_t i = 0; i < arms_.size(); ++i) {
      fmt::print("{:24} played {:3} times, mean gain {:8.1f}{}\n", kPolicies[i].name, arms_[i].plays, arms_[i].mean(),
                 arms_[i].plays > 0 && i == best() ? "  <- learned" : "");
    }
  }

 private:
  std::size_t best() const {
    return static_cast<std::size_t>(std::ranges::max_element(arms_, {}, &Gains::mean) - arms_.begin());
  }

  std::array<Gains, kPolicies.size()> arms_;
};

void train(int episodes, int seed) {
  register_sample_agents(AgentRegistry::instance());
  Deduction engine(configuration(seed));
  Bandit bandit;
  Gains trying;
  Gains learned;
  for (int episode = 1; episode <= episodes; ++episode) {
    const std::size_t choice = bandit.choose(episode);
    const double gain = play(engine, episode, kPolicies[choice]);
    bandit.learn(choice, gain);
    (episode <= Bandit::kTrials ? trying : learned).add(gain);
    fmt::print("episode {:3}: {:24} gain {:8.1f}\n", episode, kPolicies[choice].name, gain);
  }
  bandit.report();
  fmt::print("mean gain of the {} trial episodes: {:.1f}; of the {} episodes after learning: {:.1f}\n", trying.plays,
             trying.mean(), learned.plays, learned.mean());
}

/// A positive number, or 0 for any other text.
int number_of(const char* text) {
  int number = 0;
  const char* end = text + std::strlen(text);
  const auto read = std::from_chars(text, end, number);
  return read.ec == std::errc() && read.ptr == end && number > 0 ? number : 0;
}

}  // namespace

int main(int argc, char** argv) {
  const int episodes = argc > 1 ? number_of(argv[1]) : 120;
  const int seed = argc > 2 ? number_of(argv[2]) : 1;
  if (episodes == 0 || seed == 0 || argc > 3) {
    fmt::print(stderr, "usage: training_loop [EPISODES [SEED]], both positive whole numbers\n");
    return 2;
  }
  try {
    train(episodes, seed);
  } catch (const std::exception& error) {
    fmt::print(stderr, "training_loop: {}\n", error.what());
    return 1;
  }
  return 0;
}
