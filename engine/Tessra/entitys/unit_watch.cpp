#include "Tessra/entitys/unit_watch.h"

#include "Tessra/entitys/gameunit.h"
#include "Tessra/entitys/situation.h"

namespace tessra {

UnitWatch::Events UnitWatch::observe(const Situation& situation) {
  Events events;
  for (auto& [id, known] : units_) known.present = false;
  for (const auto* table : {&situation.aircrafts(), &situation.ships(), &situation.submarines(), &situation.facilitys(),
                            &situation.satellites()}) {
    for (const auto& [id, element] : *table) {
      const auto& unit = dynamic_cast<const GameUnit&>(*element);
      const auto [entry, is_new] = units_.try_emplace(std::string(unit.guid()));
      Known& known = entry->second;
      // Name and platform are copied on first sight, since a lost unit can no longer be asked.
      if (is_new) known.name = unit.attributes().get("Name").to_text();
      if (is_new) known.platform = unit.platform();
      if (!is_new && unit.damage() > known.damage) events.hits.push_back({entry->first, known.damage, unit.damage()});
      known.damage = unit.damage();
      known.present = true;
    }
  }
  for (const auto& [id, known] : units_) {
    if (!known.present) events.losses.push_back({id, known.name, known.platform});
  }
  std::erase_if(units_, [](const auto& entry) { return !entry.second.present; });
  return events;
}

}  // namespace tessra
