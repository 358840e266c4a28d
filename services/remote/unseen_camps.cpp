#include "services/remote/unseen_camps.h"

#include <algorithm>

namespace tessra::remote {

std::vector<std::string> camps_of(const Dict& section) {
  std::vector<std::string> camps;
  const auto add = [&](const Value& side) {
    const std::string name = side.to_text();
    if (side.truthy() && std::ranges::find(camps, name) == camps.end()) camps.push_back(name);
  };
  if (const Dict* agents = section.find_dict("rule_config")) {
    for (auto [side, entry] : *agents) add(side);
  }
  if (const Dict* learners = section.find_dict("RL_agents")) {
    for (auto [side, entry] : *learners) {
      add(side);
      if (const Dict* learner = entry.if_dict()) add(learner->get("enemy"));
    }
  }
  return camps;
}

void add_unseen_camps(Dict& record, const std::vector<std::string>& camps) {
  Dict* scenario = record.find_dict("ScenarioInfo");
  Dict* situation = record.find_dict("Situation");
  Dict* descriptors = scenario != nullptr ? scenario->find_dict("SideInfo") : nullptr;
  Dict* sides = situation != nullptr ? situation->find_dict("SituationSides") : nullptr;
  if (descriptors == nullptr || sides == nullptr) return;
  for (const std::string& camp : camps) {
    const bool is_seen = std::any_of(descriptors->begin(), descriptors->end(), [&](const auto& entry) {
      const Dict* descriptor = entry.value.if_dict();
      return descriptor != nullptr && descriptor->get("Name").is_text(camp);
    });
    if (is_seen) continue;
    const std::string id = "unseen " + camp;  // no side of a service has this id
    descriptors->set(id, Dict{{"Name", camp}});
    sides->set(id, Dict{{"Side", Dict{{"Missions", Dict()}}},
                        {"SideReal", Dict{{"UnitsLost", 0}}},
                        {"SidePosition", Dict()},
                        {"SideVitalChange", Dict{{"TotalScore", 0.0}}}});
  }
}

}  // namespace tessra::remote
