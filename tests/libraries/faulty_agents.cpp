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
#include "services/scheduling_client.h"
#include "Tessra/entitys/gameunit.h"
#include "Tessra/entitys/situation.h"

namespace {

using namespace tessra;

/// An error class this library alone knows.
struct TacticalError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

class Faulty : public Agent {
 public:
  explicit Faulty(std::string side_name) : Agent(std::move(side_name)) {}

 protected:
  [[noreturn]] static void fail(const char* where) {
    try {
      throw KeyError("no key 'plan'");
    } catch (const KeyError&) {
      std::throw_with_nested(TacticalError(std::string("lost in ") + where));
    }
  }
};

struct ThrowsInInitial : Faulty {
  using Faulty::Faulty;
  void initial(const Situation&) override { fail("initial"); }
};

struct ThrowsInStep : Faulty {
  using Faulty::Faulty;
  void step(double, const Situation&) override { fail("step"); }
};

struct ThrowsAtTheEnd : Faulty {
  using Faulty::Faulty;
  void deduction_end() override { fail("deduction_end"); }
};

struct ThrowsOurs : Faulty {
  using Faulty::Faulty;
  void step(double, const Situation&) override { throw KeyError("no key 'plan'"); }
};

/// Takes it for granted that every contact has a name.
struct Careless : Faulty {
  using Faulty::Faulty;
  void step(double, const Situation& situation) override {
    for (const auto& [id, contact] : situation.contacts()) static_cast<void>(contact.as_dict().at_text("Name"));
  }
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

struct Slow : Faulty {
  using Faulty::Faulty;
  void step(double, const Situation&) override { std::this_thread::sleep_for(std::chrono::milliseconds(20)); }
};

struct NeverReturns : Faulty {
  using Faulty::Faulty;
  void step(double, const Situation&) override { std::this_thread::sleep_for(std::chrono::hours(1)); }
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

/// Does one thing at every step that is not an agent's to do.
template <void (*kDeed)(Agent&)>
struct Cheat : Faulty {
  using Faulty::Faulty;
  void step(double, const Situation&) override { kDeed(*this); }
};
void reads_the_truth(Agent& agent) { static_cast<void>(agent._game_server->get_init_situation().as_dict().size()); }
void takes_the_update(Agent& agent) { static_cast<void>(agent._game_server->get_step_situation()); }
void ends_the_episode(Agent& agent) { agent._game_server->simulate_end(); }
void looks_behind(Agent& agent) { static_cast<void>(find_client<SchedulingClient>(*agent._game_server)); }
void orders_the_enemy(Agent& agent) {
  agent._game_server->add_command("SetSpeed({SIDE='蓝方', UNIT='blue-fighter-1', SPEED=200})");
}
void exits(Agent&) { std::exit(0); }
void exits_at_once(Agent&) { ::_exit(0); }
void ends_its_thread(Agent&) { ::pthread_exit(nullptr); }
void crashes(Agent&) { std::abort(); }
void exits_quickly(Agent&) { std::quick_exit(0); }
void breaks_memory(Agent&) { std::raise(SIGSEGV); }
double deeper(double depth) {  // NOLINT(misc-no-recursion): this is the fault
  volatile char room[4096];
  room[0] = static_cast<char>(depth);
  return depth < 0 ? depth : deeper(depth + 1) + room[0];
}
void overflows(Agent&) { static_cast<void>(deeper(0)); }

/// Throws first and crashes then.
struct Wavers : Cheat<crashes> {
  using Cheat::Cheat;
  void initial(const Situation&) override { fail("initial"); }
};

struct ScoresItself : Faulty {
  using Faulty::Faulty;
  void update_constant_attribute(RuleAgentBase& player) override { player.set_attribute("TotalScore", 1000.0); }
};

struct ThrowsInConstructor : Faulty {
  explicit ThrowsInConstructor(std::string side_name) : Faulty(std::move(side_name)) { throw 42; }
};

/// Puts into its side's tables what does not belong there.
struct BreaksTables : Faulty {
  using Faulty::Faulty;
  void update_constant_attribute(RuleAgentBase& player) override { player.set_attribute("Contacts", 5); }
};

struct BreaksScore : Faulty {
  using Faulty::Faulty;
  void update_constant_attribute(RuleAgentBase& player) override { player.set_attribute("TotalScore", "much"); }
};

/// Asks for the end of the episode at once.
struct Impatient : Faulty {
  using Faulty::Faulty;
  void step(double, const Situation&) override {}
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
  registry.add<ThrowsInStep>("throws-in-step");
  registry.add<ThrowsAtTheEnd>("throws-at-the-end");
  registry.add<ThrowsOurs>("throws-ours");
  registry.add<ThrowsInConstructor>("throws-in-constructor");
  registry.add<BreaksTables>("breaks-tables");
  registry.add<BreaksScore>("breaks-score");
  registry.add<Cheat<exits_quickly>>("exits-quickly");
  registry.add<Cheat<breaks_memory>>("breaks-memory");
  registry.add<Cheat<overflows>>("overflows");
  registry.add<CrashesLater>("crashes-later");
  registry.add<Impatient>("impatient");
  registry.add<Careless>("careless");
  registry.add<Mutinous>("mutinous");
  registry.add<Slow>("slow");
  registry.add<NeverReturns>("never-returns");
  registry.add<Forgetful>("forgetful", "does something once in its life");
  registry.add<Cheat<reads_the_truth>>("reads-the-truth");
  registry.add<Cheat<takes_the_update>>("takes-the-update");
  registry.add<Cheat<ends_the_episode>>("ends-the-episode");
  registry.add<Cheat<looks_behind>>("looks-behind");
  registry.add<Cheat<orders_the_enemy>>("orders-the-enemy");
  registry.add<Cheat<exits>>("exits");
  registry.add<Cheat<exits_at_once>>("exits-at-once");
  registry.add<Cheat<ends_its_thread>>("ends-its-thread");
  registry.add<Cheat<crashes>>("crashes");
  registry.add<Wavers>("wavers");
  registry.add<ScoresItself>("scores-itself");
}
