#include "Tessra/entitys/deduce_RL/record_parts.h"

namespace tessra {

Dict part_or_empty(const Dict& record, const KeyRef& key) {
  const Value* part = record.find(key);
  if (part == nullptr || part->is_none()) return {};
  return record.at_dict(key);
}

void fail_entry(const Value& key, const Value& entry) {
  throw KindError("'" + key.to_text() + "': expected dictionary, found " + std::string(kind_name(entry.kind())));
}

bool has_sides(const Value& situation) {
  const Dict* record = situation.if_dict();
  if (record == nullptr || !record->non_empty("ScenarioInfo") || !record->non_empty("Situation")) return false;
  const Dict* inner = record->at("Situation").if_dict();
  return inner != nullptr && inner->non_empty("SituationSides");
}

const Dict* side_descriptor(const Dict& scenario_info, const KeyRef& side_id) {
  const Dict* sides = scenario_info.find_dict("SideInfo");
  return sides != nullptr ? sides->find_dict(side_id) : nullptr;
}

namespace {

void flatten_mission(Dict& info) {
  const Dict* found = info.find_dict("Mission");
  if (found == nullptr) return;
  const Dict inner = *found;
  info.update(inner);
  info.erase("Mission");
}

}  // namespace

void take_missions(Dict& side_part,
                   const std::function<void(const Value& guid, Value& info, ElementType type)>& visit) {
  Dict* by_category = side_part.find_dict("Missions");
  if (by_category == nullptr) return;
  for (auto [category, missions] : *by_category) {
    const ElementType* type = classname2element(category);
    if (type == nullptr) continue;
    for (auto [guid, info] : entry_dict(category, missions)) {
      flatten_mission(entry_dict(guid, info));
      visit(guid, info, *type);
    }
  }
  side_part.erase("Missions");
}

std::optional<ElementType> unit_element_type(const Value& code) {
  constexpr std::pair<int, ElementType> kCodes[] = {
      {1, ElementType::Aircraft}, {2, ElementType::Ship},      {3, ElementType::Submarine}, {4, ElementType::Facility},
      {6, ElementType::Weapon},   {7, ElementType::Satellite}, {0, ElementType::Group},
  };
  for (const auto& [number, type] : kCodes) {
    if (code == Value(number)) return type;
  }
  return std::nullopt;
}

}  // namespace tessra
