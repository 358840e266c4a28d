// Deletions inside elements: components of a unit, weapon releases of a doctrine, events of the scenario. All of it
// only removes entries that are there.

#include <span>

#include "Tessra/entitys/deduce_RL/deduction.h"
#include "Tessra/entitys/deduce_RL/deletion_entries.h"
#include "Tessra/entitys/deduce_RL/element_lookup.h"

namespace tessra {

namespace {

constexpr std::string_view kComponentTables[] = {"CommDevices", "Sensors",      "Mounts",        "Magazines",
                                                 "Cargos",      "AirFacilitys", "DockFacilitys", "Propulsions",
                                                 "FuelRecs",    "Loadouts",     "RangeSymbols"};

using TableNames = std::span<const std::string_view>;
constexpr std::string_view kMountTables[] = {"WeaponRecs", "MagazineWeaponRecs"};
constexpr TableNames kWeaponRecs(kMountTables, 1);
constexpr TableNames kNoTables;

// What an element holds is looked up only where the record carries the same part: an update without deletions must not
// fail on a part that the service left empty in another way.

/// Deletions inside the weapon records of a component.
void delete_in_weapon_records(Dict& component, const Dict& record, std::string_view table_name) {
  const Dict* weapons = record.find_dict(table_name);
  Dict* own = weapons != nullptr ? component.find_dict(table_name) : nullptr;
  if (own == nullptr) return;
  for (auto [weapon_id, weapon_record] : *weapons) {
    if (Dict* weapon = own->find_dict(weapon_id)) remove_inner_ids(*weapon, entry_dict(weapon_id, weapon_record));
  }
}

/// One component: its own deletions, then those of its weapon records.
void delete_in_component(Dict& component, const Dict& record, TableNames weapon_tables) {
  remove_inner_ids(component, record);
  for (const std::string_view table : weapon_tables) delete_in_weapon_records(component, record, table);
}

void delete_in_components(Dict& own, const Dict& records, TableNames weapon_tables) {
  for (auto [id, record] : records) {
    if (Dict* component = own.find_dict(id)) delete_in_component(*component, entry_dict(id, record), weapon_tables);
  }
}

/// A cargo: its own deletions, then those of its mounts.
void delete_in_cargo(Dict& cargo, const Dict& record) {
  remove_inner_ids(cargo, record);
  const Dict* mounts = record.find_dict("Mounts");
  Dict* own = mounts != nullptr ? cargo.find_dict("Mounts") : nullptr;
  if (own != nullptr) delete_in_components(*own, *mounts, kMountTables);
}

/// All components of one of the unit's tables.
void delete_in_table(Element& unit, const Dict& active_unit, std::string_view table, TableNames weapon_tables) {
  const Dict* records = active_unit.find_dict(table);
  Dict* own = records != nullptr ? stored_table(unit, table) : nullptr;
  if (own != nullptr) delete_in_components(*own, *records, weapon_tables);
}

void delete_in_cargos(Element& unit, const Dict& active_unit) {
  const Dict* records = active_unit.find_dict("Cargos");
  Dict* own = records != nullptr ? stored_table(unit, "Cargos") : nullptr;
  if (own == nullptr) return;
  for (auto [id, record] : *records) {
    if (Dict* cargo = own->find_dict(id)) delete_in_cargo(*cargo, entry_dict(id, record));
  }
}

void delete_whole_components(Element& unit, const Dict& active_unit) {
  for_each_deletion(active_unit, [&](const Value& name, const List& ids) {
    for (const std::string_view table : kComponentTables) {
      if (name.is_text(table)) remove_stored(unit, name, ids);
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
    if (name.is_text("Warheads")) remove_stored(unit_obj, name, ids);
  });
  const Dict* active_unit = unit_info.find_dict("ActiveUnit");
  if (active_unit == nullptr) return;
  delete_whole_components(unit_obj, *active_unit);
  delete_targets(unit_obj, *active_unit);
  delete_in_table(unit_obj, *active_unit, "Mounts", kMountTables);
  delete_in_table(unit_obj, *active_unit, "Loadouts", kWeaponRecs);
  delete_in_table(unit_obj, *active_unit, "CommDevices", kNoTables);
  delete_in_table(unit_obj, *active_unit, "Magazines", kWeaponRecs);
  delete_in_cargos(unit_obj, *active_unit);
}

void Deduction::parse_delete_doctrine(Element& unit_obj, const Dict& unit_info) {
  const Dict& doctrine = unit_info.at_dict("Doctrine");
  const auto own_releases = [&]() -> Dict* {
    Dict* own = stored_table(unit_obj, "Doctrine");
    return own != nullptr ? own->find_dict("WRA") : nullptr;
  };
  for_each_deletion(doctrine, [&](const Value& name, const List& ids) {
    Dict* own = name.is_text("WRA") ? own_releases() : nullptr;
    if (own != nullptr) remove_ids(*own, ids);
  });
  const Value releases = doctrine.get("WRA");
  if (!releases.is_dict()) return;
  for (auto [weapon_id, record] : releases.as_dict()) {
    if (!record.is_dict()) continue;
    const Value& id = weapon_id;
    // The listed items leave that weapon's own entry, under whatever name they are listed.
    for_each_deletion(record.as_dict(), [&](const Value& /*name*/, const List& ids) {
      Dict* own = own_releases();
      Dict* weapon = own != nullptr ? own->find_dict(id) : nullptr;
      if (weapon != nullptr) remove_ids(*weapon, ids);
    });
  }
}

void Deduction::parse_delete_events(const Value& events_data) {
  if (!events_data.truthy()) return;
  const Dict& events = events_data.as_dict();
  for_each_deletion(events, [&](const Value& name, const List& ids) {
    if (name.is_text("SimEvents")) remove_stored(known_scenario(*this), name, ids);
  });
  for (const std::string_view table : {"EventTriggers", "EventConditions", "EventActions", "SimEvents"}) {
    const Dict* record = events.find_dict(table);
    if (record == nullptr || !record->contains("mapdel")) continue;
    if (Dict* own = stored_table(known_scenario(*this), table)) remove_inner_ids(*own, *record);
  }
}

}  // namespace tessra
