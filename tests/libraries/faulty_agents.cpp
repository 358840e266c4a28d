// Agents that each do one thing wrong.

#include <pthread.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <set>
#include <thread>

#include "Tessra/base/error.h"
#include "Tessra/entitys/agent_base.h"
#include "Tessra/entitys/agent_library.h"
#include "Tessra/entitys/gameunit.h"
#include "Tessra/entitys/situation.h"
#include "services/scheduling_client.h"

namespace {

using namespace tessra;

/// An error class this library alone knows.
struct TacticalError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

[[noreturn]] void fail(const char* where) {
  try {
    throw KeyError("no key 'plan'");
  } catch (const KeyError&) {
    std::throw_with_nested(TacticalError(std::string("lost in ") + where));
  }
}

struct Faulty : Agent {
  explicit Faulty(std::string side_name) : Agent(std::move(side_name)) {}
};

struct ThrowsInInitial : Faulty {
  using Faulty::Faulty;
  void initial(const Situation&) override { fail("initial"); }
};

struct ThrowsAtTheEnd : Faulty {
  using Faulty::Faulty;
  void deduction_end() override { fail("deduction_end"); }
};

/// Orders the enemy's unit, and its own after it was lost.
struct Mutinous : Faulty {
  using Faulty::Faulty;
  void step(double, const Situation& situation) override {
    for (const auto& [id, aircraft] : situation.aircrafts()) units_.insert(std::string(id));
    for (const auto& [id, contact] : situation.contacts()) {
      if (contact.as_dict().contains("ActualUnitID")) units_.emplace(contact.as_dict().at_text("ActualUnitID"));
    }
    for (const std::string& unit : units_) {
      _game_server->add_command("SetSpeed({SIDE='" + side + "', UNIT='" + unit + "', SPEED=200})");
    }
  }

  std::set<std::string> units_;
};

/// Does something once in its life instead of once in an episode.
struct Forgetful : Faulty {
  using Faulty::Faulty;
  void initial(const Situation& situation) override {
    if (started) return;
    started = true;
    for (const auto& [id, element] : situation.aircrafts()) situation.unit(id)->set_weapon_control("free");
  }
  bool started = false;
};

/// Does one thing at every step.
template <void (*kDeed)(Agent&, const Situation&)>
struct Does : Faulty {
  using Faulty::Faulty;
  void step(double, const Situation& situation) override { kDeed(*this, situation); }
};
void throws(Agent&, const Situation&) { fail("step"); }
void throws_ours(Agent&, const Situation&) { throw KeyError("no key 'plan'"); }
/// Takes it for granted that every contact has a name.
void is_careless(Agent&, const Situation& situation) {
  for (const auto& [id, contact] : situation.contacts()) static_cast<void>(contact.as_dict().at_text("Name"));
}
void is_slow(Agent&, const Situation&) { std::this_thread::sleep_for(std::chrono::milliseconds(20)); }
void never_returns(Agent&, const Situation&) { std::this_thread::sleep_for(std::chrono::hours(1)); }
// What is not an agent's to do.
void reads_the_truth(Agent& agent, const Situation&) {
  static_cast<void>(agent._game_server->get_init_situation().as_dict().size());
}
void takes_the_update(Agent& agent, const Situation&) { static_cast<void>(agent._game_server->get_step_situation()); }
void ends_the_episode(Agent& agent, const Situation&) { agent._game_server->simulate_end(); }
void looks_behind(Agent& agent, const Situation&) {
  static_cast<void>(find_client<SchedulingClient>(*agent._game_server));
}
void orders_the_enemy(Agent& agent, const Situation&) {
  agent._game_server->add_command("SetSpeed({SIDE='蓝方', UNIT='blue-fighter-1', SPEED=200})");
}
void exits(Agent&, const Situation&) { std::exit(0); }
void exits_at_once(Agent&, const Situation&) { ::_exit(0); }
void ends_its_thread(Agent&, const Situation&) { ::pthread_exit(nullptr); }
void crashes(Agent&, const Situation&) { std::abort(); }
void exits_quickly(Agent&, const Situation&) { std::quick_exit(0); }
void breaks_memory(Agent&, const Situation&) { std::raise(SIGSEGV); }
double deeper(double depth) {  // NOLINT(misc-no-recursion): this is the fault
  volatile char room[4096];
  room[0] = static_cast<char>(depth);
  return depth < 0 ? depth : deeper(depth + 1) + room[0];
}
void overflows(Agent&, const Situation&) { static_cast<void>(deeper(0)); }
void nothing(Agent&, const Situation&) {}

/// Throws first and crashes then.
struct Wavers : Does<crashes> {
  using Does::Does;
  void initial(const Situation&) override { fail("initial"); }
};

struct ThrowsInConstructor : Faulty {
  explicit ThrowsInConstructor(std::string side_name) : Faulty(std::move(side_name)) { throw 42; }
};

/// Writes into its side's tables what does not belong there.
template <void (*kDeed)(RuleAgentBase&)>
struct Writes : Faulty {
  using Faulty::Faulty;
  void update_constant_attribute(RuleAgentBase& player) override { kDeed(player); }
};
void scores_itself(RuleAgentBase& player) { player.set_attribute("TotalScore", 1000.0); }
void breaks_tables(RuleAgentBase& player) { player.set_attribute("Contacts", 5); }
void breaks_score(RuleAgentBase& player) { player.set_attribute("TotalScore", "much"); }

/// Asks for the end of the episode at once.
struct Impatient : Does<nothing> {
  using Does::Does;
  bool is_done() override { return true; }
};

/// Crashes in the second episode.
struct CrashesLater : Faulty {
  using Faulty::Faulty;
  void step(double, const Situation&) override {
    if (episodes_ended > 0) std::raise(SIGSEGV);
  }
  void deduction_end() override { ++episodes_ended; }
  int episodes_ended = 0;
};

}  // namespace

TESSRA_AGENT_LIBRARY(registry) {
  registry.add<ThrowsInInitial>("throws-in-initial");
  registry.add<Does<throws>>("throws-in-step");
  registry.add<ThrowsAtTheEnd>("throws-at-the-end");
  registry.add<Does<throws_ours>>("throws-ours");
  registry.add<ThrowsInConstructor>("throws-in-constructor");
  registry.add<Writes<breaks_tables>>("breaks-tables");
  registry.add<Writes<breaks_score>>("breaks-score");
  registry.add<Does<exits_quickly>>("exits-quickly");
  registry.add<Does<breaks_memory>>("breaks-memory");
  registry.add<Does<overflows>>("overflows");
  registry.add<CrashesLater>("crashes-later");
  registry.add<Impatient>("impatient");
  registry.add<Does<is_careless>>("careless");
  registry.add<Mutinous>("mutinous");
  registry.add<Does<is_slow>>("slow");
  registry.add<Does<never_returns>>("never-returns");
  registry.add<Forgetful>("forgetful", "does something once in its life");
  registry.add<Does<reads_the_truth>>("reads-the-truth");
  registry.add<Does<takes_the_update>>("takes-the-update");
  registry.add<Does<ends_the_episode>>("ends-the-episode");
  registry.add<Does<looks_behind>>("looks-behind");
  registry.add<Does<orders_the_enemy>>("orders-the-enemy");
  registry.add<Does<exits>>("exits");
  registry.add<Does<exits_at_once>>("exits-at-once");
  registry.add<Does<ends_its_thread>>("ends-its-thread");
  registry.add<Does<crashes>>("crashes");
  registry.add<Wavers>("wavers");
  registry.add<Writes<scores_itself>>("scores-itself");
}
