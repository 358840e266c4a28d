// Agents that each do one thing wrong.

#include <chrono>
#include <set>
#include <thread>

#include "Tessra/base/error.h"
#include "Tessra/entitys/agent_library.h"
#include "Tessra/entitys/gameenvs/gameserver.h"
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

}  // namespace

TESSRA_AGENT_LIBRARY(registry) {
  registry.add<ThrowsInInitial>("throws-in-initial");
  registry.add<ThrowsInStep>("throws-in-step");
  registry.add<ThrowsAtTheEnd>("throws-at-the-end");
  registry.add<ThrowsOurs>("throws-ours");
  registry.add<Careless>("careless");
  registry.add<Mutinous>("mutinous");
  registry.add<Slow>("slow");
  registry.add<NeverReturns>("never-returns");
  registry.add<Forgetful>("forgetful");
}
