#include "tests/support/record_parts.h"

namespace tessra::testing {

namespace {

constexpr std::string_view kComponents[] = {"Mounts",       "Loadouts",      "CommDevices", "Magazines",
                                            "Cargos",       "Sensors",       "FuelRecs",    "Propulsions",
                                            "AirFacilitys", "DockFacilitys", "RangeSymbols"};
/// The tables whose components are changed and deleted from the inside.
constexpr int kOpenComponents = 5;

std::string numbered(std::string_view prefix, int number) { return std::string(prefix) + std::to_string(number); }

Dict component(std::string_view table) {
  Dict record{{"Name", table}, {"Status", 1}, {"Parts", UnitRecords::items("p", 3)}};
  if (table == "Mounts") record.set("WeaponRecs", UnitRecords::items("w", 2));
  if (table == "Cargos") record.set("Mounts", Dict{{"m1", component("Mounts")}, {"m2", component("Mounts")}});
  return record;
}

}  // namespace

Dict UnitRecords::items(std::string_view prefix, int count) {
  Dict items;
  for (int i = 1; i <= count; ++i) items.set(numbered(prefix, i), Dict{{"Value", i}});
  return items;
}

Dict UnitRecords::deletion(std::string_view prefix, int count) {
  if (gaps_ && chance_.happens(0.1)) return {{"n", 1}};
  List ids;
  for (int left = 1 + chance_.below(2); left > 0; --left) ids.push_back(numbered(prefix, 1 + chance_.below(count)));
  return {{"v", ids}};
}

Dict UnitRecords::doctrine() {
  return {{"Posture", 1}, {"WRA", Dict{{"a1", items("t", 3)}, {"a2", items("t", 2)}, {"a3", Dict{}}}}};
}

Dict UnitRecords::doctrine_changes() {
  Dict changes{{"Posture", chance_.below(4)}};
  Dict weapon{{"t4", Dict{{"Value", chance_.below(9)}}}};
  if (chance_.happens(0.5)) weapon.set("mapdel", Dict{{"Targets", deletion("t", 4)}});
  changes.set("WRA", Dict{{numbered("a", 1 + chance_.below(4)), weapon}});
  if (chance_.happens(0.5)) changes.set("mapdel", Dict{{"WRA", deletion("a", 4)}, {"Posture", deletion("a", 4)}});
  return changes;
}

Dict UnitRecords::basic(const GeneratedUnit& unit) {
  Dict record{{"ClassName", unit.category + " mark " + std::to_string(chance_.below(5))}, {"Speed", 1}};
  if (!unit.name.is_none()) record.set("Name", unit.name);
  if (!unit.type.is_none()) record.set("UnitType", unit.type);
  record.set("Doctrine", doctrine());
  return record;
}

Dict UnitRecords::inner() {
  Dict record{{"Speed", 2}, {"Fuel", chance_.real(0, 100)}, {"AI", Dict{{"TargetList", items("t", 4)}, {"Mode", "x"}}}};
  for (const std::string_view table : kComponents) {
    record.set(table, Dict{{"c1", component(table)}, {"c2", component(table)}, {"c3", component(table)}});
  }
  return record;
}

Dict UnitRecords::live() {
  return {{"Speed", 3},
          {"Status", "ready"},
          {"Warheads", items("h", 3)},
          {"Navigator", Dict{{"Leg", chance_.below(9)}, {"Plan", Dict{{"p1", 1}, {"p2", 2}}}}}};
}

void UnitRecords::put_position(Dict side_record, const GeneratedUnit& unit, int parts) {
  if ((parts & GeneratedUnit::kPosition) == 0) return;
  const Dict record{{"Lon", chance_.real(110, 130)}, {"Lat", chance_.real(15, 30)}, {"Speed", chance_.real(0, 300)}};
  branch(side_record, {"SidePosition", unit.category}).set(unit.id, record);
}

void UnitRecords::put_whole(Dict side_record, const GeneratedUnit& unit, int parts) {
  if ((parts & GeneratedUnit::kBasic) != 0) branch(side_record, {"Side", "ActiveUnitsInfo"}).set(unit.id, basic(unit));
  if ((parts & GeneratedUnit::kLive) != 0) {
    Dict record = live();
    if (unit.has_inner) record.set("ActiveUnit", inner());
    branch(side_record, {"SideReal", "ActiveUnits", unit.category}).set(unit.id, record);
  }
  put_position(side_record, unit, parts);
}

Dict UnitRecords::changed_item(std::string_view prefix) {
  return {{numbered(prefix, 1 + chance_.below(5)), Dict{{"Value", chance_.below(9)}}}};
}

Dict UnitRecords::component_changes(std::string_view table) {
  Dict change{{"Status", chance_.below(4)}, {"Parts", changed_item("p")}};
  if (chance_.happens(0.5)) change.set("mapdel", Dict{{"Parts", deletion("p", 5)}, {"Unheard", deletion("p", 5)}});
  if (table == "Cargos") change.set("Mounts", Dict{{numbered("m", 1 + chance_.below(3)), component_changes("Mounts")}});
  return change;
}

Dict UnitRecords::inner_changes() {
  Dict changes{{"Fuel", chance_.real(0, 100)}};
  if (chance_.happens(0.3)) {
    changes.set("AI", Dict{{"Mode", "attack"}, {"mapdel", Dict{{"TargetList", deletion("t", 5)}}}});
  }
  if (chance_.happens(0.6)) {
    const std::string_view table = kComponents[chance_.below(kOpenComponents)];
    changes.set(table, Dict{{numbered("c", 1 + chance_.below(4)), component_changes(table)}});
  }
  if (chance_.happens(0.3)) {
    const std::string_view table = kComponents[chance_.below(static_cast<int>(std::size(kComponents)))];
    changes.set("mapdel", Dict{{table, deletion("c", 4)}, {"Unheard", deletion("c", 4)}});
  }
  return changes;
}

void UnitRecords::put_changes(Dict side_record, const GeneratedUnit& unit, int parts) {
  if ((parts & GeneratedUnit::kBasic) != 0) {
    Dict record{{"ClassName", numbered("refit ", chance_.below(5))}};
    if (chance_.happens(0.4)) record.set("Doctrine", doctrine_changes());
    branch(side_record, {"Side", "ActiveUnitsInfo"}).set(unit.id, record);
  }
  if ((parts & GeneratedUnit::kLive) != 0) {
    Dict record{{"Status", numbered("state ", chance_.below(5))}, {"Speed", chance_.real(0, 300)}};
    if (chance_.happens(0.3)) record.set("Navigator", Dict{{"Plan", Dict{{numbered("p", chance_.below(9)), 1}}}});
    if (chance_.happens(0.2)) record.set("mapdel", Dict{{"Warheads", deletion("h", 4)}, {"Mounts", deletion("c", 3)}});
    if (chance_.happens(0.7)) record.set("ActiveUnit", inner_changes());
    if (gaps_ && chance_.happens(0.1)) record.set("Unheard", chance_.below(9));
    branch(side_record, {"SideReal", "ActiveUnits", unit.category}).set(unit.id, record);
  }
  put_position(side_record, unit, parts);
}

}  // namespace tessra::testing
