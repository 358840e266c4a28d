// An agent library with one class, "lookout": it looks at what its side does not know yet and lets its units defend
// themselves. Small, so that you can see what an agent is made of.

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "Tessra/entitys/agent_library.h"
#include "Tessra/entitys/gameunit.h"
#include "Tessra/entitys/situation.h"

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

  // Every decision: one aircraft for each contact that is only seen so far, once per contact.
  void step(double /*time_elapsed*/, const tessra::Situation& situation) override {
    std::vector<std::string> scouts = scouts_of(situation);
    for (const auto& [contact_id, record] : situation.contacts()) {
      const tessra::Dict& contact = record.as_dict();
      if (scouts.empty()) return;
      if (!is_unknown(contact) || !looked_at_.insert(contact_id.to_text()).second) continue;
      const tessra::GeoPoint place[] = {{contact.at_real("Lon"), contact.at_real("Lat")}};
      situation.unit(scouts.back())->plot_course(place);
      scouts.pop_back();
    }
  }

  // The agent lives on; the episode does not.
  void reset() override { looked_at_.clear(); }

 private:
  // Records hold what is known: ask before you read.
  static bool is_unknown(const tessra::Dict& contact) {
    constexpr int kClassKnown = 3;
    if (!contact.contains("Lon") || !contact.contains("Lat")) return false;
    return !contact.contains("IDStatus") || contact.at_integer("IDStatus") < kClassKnown;
  }

  // A scheduling client's user may say which units are ours to order (`units`, a list of ids).
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
};

}  // namespace

TESSRA_AGENT_LIBRARY(registry) { registry.add<LookoutAgent>("lookout"); }
