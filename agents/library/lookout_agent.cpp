// An agent library with one class, "lookout": it sends aircraft to look at contacts that are not yet identified, lets
// all units fire at hostile contacts, and brings damaged units home. Small on purpose, as a template for your own
// agents.

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "Tessra/entitys/agent_library.h"
#include "Tessra/entitys/gameunit.h"
#include "Tessra/entitys/situation.h"
#include "Tessra/entitys/unit_watch.h"

namespace {

class LookoutAgent : public tessra::Agent {
 public:
  explicit LookoutAgent(std::string side) : Agent(std::move(side)) {}

  // Episode start: every unit may fire at hostile contacts on its own.
  void initial(const tessra::Situation& situation) override {
    for (const auto* table : {&situation.aircrafts(), &situation.ships(), &situation.facilitys()}) {
      for (const auto& [id, element] : *table) situation.unit(id)->set_weapon_control("free");
    }
  }

  // Every decision: send one aircraft to each contact that is not yet identified, once per contact.
  void step(double /*time_elapsed*/, const tessra::Situation& situation) override {
    withdraw_what_was_hit(situation);
    std::vector<std::string> scouts = scouts_of(situation);
    for (const tessra::Contact& contact : situation.contact_list()) {
      if (scouts.empty()) return;
      if (!is_unknown(contact) || !looked_at_.insert(std::string(contact.id())).second) continue;
      const tessra::GeoPoint place[] = {*contact.position()};
      situation.unit(scouts.back())->plot_course(place);
      scouts.pop_back();
    }
  }

  // The agent lives longer than an episode, so it must forget the last one.
  void reset() override {
    looked_at_.clear();
    watch_.reset();
  }

 private:
  // A contact may lack any field: the accessors of unknown fields are empty.
  static bool is_unknown(const tessra::Contact& contact) {
    constexpr int kClassKnown = 3;
    return contact.position() && contact.id_status().value_or(0) < kClassKnown;
  }

  void withdraw_what_was_hit(const tessra::Situation& situation) {
    for (const auto& hit : watch_.observe(situation).hits) {
      const auto unit = situation.unit(hit.id);
      // Units without a base cannot return; the order would be refused.
      if (unit->attributes().non_empty("BaseID")) unit->return_to_base();
    }
  }

  // A scheduling client's user may restrict which units we may order (`units`, a list of ids).
  std::vector<std::string> scouts_of(const tessra::Situation& situation) const {
    const tessra::Dict* settings = client_info.if_dict();
    const tessra::List* chosen = settings != nullptr ? settings->find_list("units") : nullptr;
    std::vector<std::string> scouts;
    for (const auto& [id, element] : situation.aircrafts()) {
      if (chosen == nullptr || std::find(chosen->begin(), chosen->end(), tessra::Value(id)) != chosen->end()) {
        scouts.emplace_back(id);
      }
    }
    return scouts;
  }

  std::set<std::string> looked_at_;
  tessra::UnitWatch watch_;
};

}  // namespace

TESSRA_AGENT_LIBRARY(registry) { registry.add<LookoutAgent>("lookout"); }
