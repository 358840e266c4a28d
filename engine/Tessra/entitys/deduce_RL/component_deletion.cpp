// Deletions inside elements: components of a unit, weapon releases of a doctrine, events of the scenario. All of it
// only removes entries that are there.

#include <span>

#include "Tessra/entitys/deduce_RL/deduction.h"
#include "Tessra/entitys/deduce_RL/deletion_entries.h"

namespace tessra {

namespace {

constexpr std::string_view kComponentTables[] = {"CommDevices", "Sensors",      "Mounts",        "Magazines",
                                                 "Cargos",      "AirFacilitys", "DockFacilitys", "Propulsions",
                                                 "FuelRecs",    "Loadouts",     "RangeSymbols"};

using TableNames = std::span<const std::string_view>;
constexpr std::string_view kMountTables[] = {"WeaponRecs", "MagazineWeaponRecs"};
constexpr TableNames kWeaponRecs(kMountTables, 1);
constexpr TableNames kNoTables;

/// Deletions inside the weapon records of a component. `component` is the unit's own, null when it holds none.
void delete_in_weapon_records(Dict* component, const Dict& record, std::string_view table_name) {
  const Dict* weapons = record.find_dict(table_name);
  Dict* own = component != nullptr ? component->find_dict(table_name) : nullptr;
  if (weapons == nullptr || own == nullptr) return;
  for (auto [weapon_id, weapon_record] : *weapons) {
    if (Dict* weapon = own->find_dict(weapon_id)) remove_inner_ids(*weapon, weapon_record.as_dict());
  }
}

/// One component: its own deletions, then those of its weapon records.
void delete_in_component(Dict* component, const Dict& record, TableNames weapon_tables) {
  if (component != nullptr) remove_inner_ids(*component, record);
  for (const std::string_view table : weapon_tables) delete_in_weapon_records(component, record, table);
}

/// All components of a table. `own` is the unit's table, null when it holds none.
void delete_in_components(Dict* own, const Dict* records, TableNames weapon_tables) {
  if (own == nullptr || records == nullptr) return;
  for (auto [id, record] : *records) delete_in_component(own->find_dict(id), record.as_dict(), weapon_tables);
}

void delete_in_cargos(Dict* own, const Dict* records) {
  if (own == nullptr || records == nullptr) return;
  for (auto [id, record] : *records) {
    Dict* cargo = own->find_dict(id);
    if (cargo == nullptr) continue;
    delete_in_component(cargo, record.as_dict(), kNoTables);
    delete_in_components(cargo->find_dict("Mounts"), record.as_dict().find_dict("Mounts"), kMountTables);
  }
}

/// The unit's table of this name when it has entries; defaults are not stored for looking.
Dict* stored_table(Element& element, const KeyRef& name) {
  const Value* value = element.attributes().find(name);
  return value != nullptr && value->truthy() ? element.attributes().find_dict(name) : nullptr;
}

void delete_whole_components(Element& unit, const Dict& active_unit) {
  for_each_deletion(active_unit, [&](const Value& name, const List& ids) {
    for (const std::string_view table : kComponentTables) {
      if (!name.is_text(table)) continue;
      if (Dict* own = stored_table(unit, name)) remove_ids(*own, ids);
    }
  });
}

void delete_targets(Element& unit, const Dict& active_unit) {
  const Dict* logic = active_unit.find_dict("AI");
  if (logic == nullptr) return;
  for_each_deletion(*logic, [&](const Value& name, const List& ids) {
    Dict* own = name.is_text("TargetList") ? stored_table(unit, "AI") : nullptr;
    if (Dict* targets = own != nullptr ? own->find_dict("TargetList") : nullptr) remove_ids(*targets, ids);
  });
}

}  // namespace

void Deduction::del_unit_component(Element& unit_obj, const Dict& unit_info) {
  for_each_deletion(unit_info, [&](const Value& name, const List& ids) {
    Dict* warheads = name.is_text("Warheads") ? stored_table(unit_obj, name) : nullptr;
    if (warheads != nullptr) remove_ids(*warheads, ids);
  });
  const Dict* active_unit = unit_info.find_dict("ActiveUnit");
  if (active_unit == nullptr) return;
  delete_whole_components(unit_obj, *active_unit);
  delete_targets(unit_obj, *active_unit);

  const auto own = [&](std::string_view table) { return stored_table(unit_obj, table); };
  const auto record = [&](std::string_view table) { return active_unit->find_dict(table); };
  delete_in_components(own("Mounts"), record("Mounts"), kMountTables);
  delete_in_components(own("Loadouts"), record("Loadouts"), kWeaponRecs);
  delete_in_components(own("CommDevices"), record("CommDevices"), kNoTables);
  delete_in_components(own("Magazines"), record("Magazines"), kWeaponRecs);
  delete_in_cargos(own("Cargos"), record("Cargos"));
}

void Deduction::parse_delete_doctrine(Element& unit_obj, const Dict& unit_info) {
  const Dict& doctrine = unit_info.at_dict("Doctrine");
  Dict* own_doctrine = stored_table(unit_obj, "Doctrine");
  Dict* own = own_doctrine != nullptr ? own_doctrine->find_dict("WRA") : nullptr;
  if (own == nullptr) return;
  for_each_deletion(doctrine, [&](const Value& name, const List& ids) {
    if (name.is_text("WRA")) remove_ids(*own, ids);
  });
  // Per weapon: the listed items leave that weapon's own entry, under whatever name they are listed.
  const Dict* releases = doctrine.find_dict("WRA");
  if (releases == nullptr) return;
  for (auto [weapon_id, record] : *releases) {
    const Dict* weapon_record = record.if_dict();
    Dict* weapon = weapon_record != nullptr ? own->find_dict(weapon_id) : nullptr;
    if (weapon == nullptr) continue;
    for_each_deletion(*weapon_record, [&](const Value& /*name*/, const List& ids) { remove_ids(*weapon, ids); });
  }
}

void Deduction::parse_delete_events(const Value& events_data) {
  if (!events_data.truthy()) return;
  const Dict& events = events_data.as_dict();
  for_each_deletion(events, [&](const Value& name, const List& ids) {
    if (name.is_text("SimEvents")) remove_ids(known_scenario().get_dict("SimEvents"), ids);
  });
  for (const std::string_view table : {"EventTriggers", "EventConditions", "EventActions", "SimEvents"}) {
    const Dict* record = events.find_dict(table);
    if (record == nullptr || !record->contains("mapdel")) continue;
    Dict own = known_scenario().get_dict(table);
    remove_inner_ids(own, *record);
  }
}

}  // namespace tessra
