#include "tests/support/situation_generator.h"

#include <fmt/format.h>

#include "tests/support/generated_sides.h"
#include "tests/support/record_parts.h"

namespace tessra::testing {

namespace {

constexpr const char* kSideTables[] = {"ReferencePoints", "SpecialActions", "ExclusionZones", "NoNavZones",
                                       "AirCorridorZones"};
constexpr const char* kEventTables[] = {"EventTriggers", "EventConditions", "EventActions"};
constexpr std::int64_t kStart = 1'700'000'000'000;

class Generator {
 public:
  explicit Generator(const GeneratorOptions& options)
      : options_(options), chance_(options.seed), units_(chance_, options.gaps), cast_(options) {}

  GeneratedEpisode run(int updates) {
    GeneratedEpisode episode;
    episode.config = cast_.config();
    episode.sides_info = cast_.sides_info();
    episode.initial = initial();
    for (int number = 1; number <= updates; ++number) {
      episode.updates.push_back(update(number));
      if (number == updates) episode.updates.back().set("IsEnd", true);
    }
    return episode;
  }

 private:
  bool gap(double share) { return chance_.happens(share) && options_.gaps; }

  // Whole records.

  Dict initial() {
    Dict info{{"ScenarioID", "scenario-1"}, {"Time", kStart},        {"StartTime", kStart},
              {"Duration", 3600},           {"Weather", "scenario"}, {"SideInfo", side_info(true)}};
    Dict situation{{"Weather", "situation"}, {"NonActiveUnits", Dict{{"Aircraft", UnitRecords::items("n", 3)}}}};
    Dict events{{"Weather", "events"}, {"SimEvents", UnitRecords::items("e", 4)}};
    for (const char* table : kEventTables) events.set(table, Dict{{"Time", UnitRecords::items("x", 4)}});
    Dict sides;
    for (GeneratedSide& side : cast_.sides) sides.set(side.id, initial_side(side));
    if (options_.gaps) sides.set("side-unknown", Dict{{"Side", Dict()}});
    return {{"ScenarioInfo", info},
            {"Situation", Dict{{"SituationInfo", situation}, {"SituationSides", sides}}},
            {"Events", events}};
  }

  Dict side_info(bool whole) {
    Dict info;
    for (std::size_t i = 0; i < cast_.sides.size(); ++i) {
      Dict entry{{"Awareness", chance_.below(4)}};
      if (whole) entry.set("Name", cast_.sides[i].name);
      for (std::size_t j = 0; whole && j < cast_.sides.size(); ++j) {
        if (i != j) branch(entry, {"Postures"}).set(cast_.sides[j].id, Cast::friends(i, j) ? 1 : 3);
      }
      if (whole || chance_.happens(0.5)) info.set(cast_.sides[i].id, entry);
    }
    return info;
  }

  Dict initial_side(GeneratedSide& side) {
    Dict record{{"Side", Dict{{"TotalScore", 0}, {"Speed", 1}, {"Doctrine", UnitRecords::doctrine()}}}};
    for (const char* table : kSideTables) branch(record, {"Side"}).set(table, UnitRecords::items("r", 4));
    for (GeneratedUnit& unit : side.units) units_.put_whole(record, unit, unit.parts);
    for (const GeneratedMission& mission : side.missions) put_mission(record, side, mission, true);
    for (const GeneratedContact& contact : side.contacts) put_contact(record, contact, true);
    const Dict salvo{{"Target", "t"}, {"Shooters", UnitRecords::items("s", 3)}};
    branch(record, {"SideReal"}).set("WeaponSalvos", Dict{{"s1", salvo}, {"s2", salvo.deep_copy()}});
    if (chance_.happens(0.5)) record.set("SideVitalChange", Dict{{"TotalScore", chance_.real(-10, 10)}});
    if (gap(0.5)) branch(record, {"SidePosition"}).erase("Satellite");
    return record;
  }

  void put_mission(Dict side_record, const GeneratedSide& side, const GeneratedMission& mission, bool whole) {
    Dict record{{"Status", chance_.below(3)}};
    Dict inner{{"Flight", UnitRecords::items("f", whole ? 3 : 1)}};
    if (whole) {
      // Two missions of a side share a name now and then; one without a name is not created.
      const auto name = fmt::format("{} mission {}", mission.category, side.missions.size() % 4);
      if (!gap(0.1)) (chance_.happens(0.5) ? record : inner).set("Name", name);
      record.set("MountsToUnload", UnitRecords::items("m", 3));
      inner.set("Doctrine", UnitRecords::doctrine());
    } else {
      if (chance_.happens(0.4)) inner.set("Doctrine", units_.doctrine_changes());
      if (chance_.happens(0.4)) inner.set("mapdel", Dict{{"Flight", units_.deletion("f", 4)}});
      if (gap(0.1)) record.set("Unheard", Dict());
    }
    if (whole || chance_.happens(0.7)) record.set("Mission", inner);
    branch(side_record, {"Side", "Missions", mission.category}).set(mission.id, record);
  }

  void put_contact(Dict side_record, const GeneratedContact& contact, bool whole) {
    Dict record{{"Emissions", UnitRecords::items("e", whole ? 3 : 1)}};
    if (whole && !gap(0.1)) record.set("Type", chance_.below(6));
    if (whole && !gap(0.1)) record.set("Name", "contact " + contact.id.substr(contact.id.size() - 2));
    if (chance_.happens(0.6)) record.set("Side", chance_.happens(0.3) ? "side-unknown" : some_side().id);
    if (chance_.happens(0.6)) record.set("ActualUnitID", fmt::format("{}-unit-{}", some_side().id, chance_.below(8)));
    if (chance_.happens(0.5)) record.set("IDStatus", chance_.below(4));
    if (chance_.happens(0.5)) record.set("Age", chance_.below(6));
    if (!whole && chance_.happens(0.3))
      record.set("mapdel", Dict{{"Emissions", units_.deletion("e", 4)}, {"Unheard", units_.deletion("e", 4)}});
    const bool placed = whole ? !gap(0.1) : chance_.happens(0.6);
    if (whole || chance_.happens(0.7)) branch(side_record, {"SideReal", "Contacts"}).set(contact.id, record);
    if (!placed) return;
    Dict position{{"Lon", chance_.real(110, 130)}, {"Lat", chance_.real(15, 30)}};
    if (gap(0.1)) position.erase("Lon");
    branch(side_record, {"SidePosition", "Contacts"}).set(contact.id, position);
  }

  const GeneratedSide& some_side() { return cast_.sides[chance_.below(options_.sides)]; }

  // Updates.

  Dict update(int number) {
    Dict record;
    const Dict clock{{"Time", kStart + 1000 * number}};
    const bool has_scenario = chance_.happens(0.6);
    if (has_scenario) record.set("ScenarioInfo", clock);
    if (has_scenario && chance_.happens(0.7)) branch(record, {"ScenarioInfo"}).set("SideInfo", side_info(false));
    if (has_scenario && chance_.happens(0.3))
      branch(record, {"ScenarioInfo"}).set("mapdel", Dict{{"Sides", units_.deletion("s", 3)}});
    if (gap(0.05)) record.set("ScenarioInfo", Dict());
    for (const char* source : {"ScenarioInfo", "Events"}) {
      if (chance_.happens(0.3)) branch(record, {source}).set("Weather", fmt::format("{} {}", source, number));
    }
    if (chance_.happens(0.5)) add_events(branch(record, {"Events"}));
    if (!gap(0.1)) record.set("Situation", Dict{{"SituationInfo", situation_info(number)}});
    for (GeneratedSide& side : cast_.sides) {
      if (!gap(0.1)) branch(record, {"Situation", "SituationSides"}).set(side.id, changed_side(side));
    }
    if (gap(0.2)) branch(record, {"Situation", "SituationSides"}).set("side-unknown", Dict{{"Side", Dict()}});
    return record;
  }

  Dict situation_info(int number) {
    Dict info{{"Time", kStart + 1000 * number + 500}};
    if (chance_.happens(0.3)) info.set("Weather", fmt::format("situation {}", number));
    const Dict deletions{{"Aircraft", units_.deletion("n", 4)}, {"Unheard", units_.deletion("n", 4)}};
    const Dict units{{"Aircraft", Dict{{"n2", Dict{{"Value", number}}}}}, {"mapdel", deletions}};
    if (chance_.happens(0.3)) info.set("NonActiveUnits", units);
    return info;
  }

  void add_events(Dict events) {
    events.set("SimEvents", Dict{{"e1", Dict{{"Value", chance_.below(9)}, {"v1", 1}, {"v2", 2}}}});
    if (chance_.happens(0.5)) branch(events, {"SimEvents"}).set("mapdel", Dict{{"e1", units_.deletion("v", 3)}});
    if (chance_.happens(0.5))
      events.set("mapdel", Dict{{"SimEvents", units_.deletion("e", 5)}, {"Unheard", units_.deletion("e", 5)}});
    for (const char* table : kEventTables) {
      const Dict deletions{{"Time", units_.deletion("x", 5)}, {"Unheard", units_.deletion("x", 5)}};
      if (chance_.happens(0.4)) events.set(table, Dict{{"mapdel", deletions}});
    }
  }

  Dict changed_side(GeneratedSide& side) {
    Dict record;
    for (GeneratedUnit& unit : side.units) {
      if (unit.alive && chance_.happens(options_.change_share)) put_unit_changes(record, unit);
      if (!unit.alive && chance_.happens(0.1)) units_.put_whole(record, unit, GeneratedUnit::kAll);
    }
    if (chance_.happens(0.5)) {
      GeneratedUnit& unit = cast_.add_unit(side);
      if (options_.gaps) Cast::make_odd(unit, chance_.below(40));
      units_.put_whole(record, unit, unit.parts);
    }
    for (const GeneratedMission& mission : side.missions) {
      if (mission.alive && chance_.happens(options_.change_share)) put_mission(record, side, mission, false);
    }
    if (chance_.happens(0.2)) put_mission(record, side, cast_.add_mission(side), true);
    put_contact_changes(record, side);
    put_side_changes(record, side);
    put_deletions(record, side);
    if (gap(0.1)) record.set(chance_.happens(0.5) ? "Side" : "SidePosition", Value());
    return record;
  }

  void put_unit_changes(Dict record, const GeneratedUnit& unit) {
    // With gaps, a part may come that the unit never had.
    const int known = options_.gaps && chance_.happens(0.1) ? GeneratedUnit::kAll : unit.parts;
    const int parts = (1 + chance_.below(GeneratedUnit::kAll)) & known;
    units_.put_changes(record, unit, parts);
  }

  void put_contact_changes(Dict record, GeneratedSide& side) {
    for (const GeneratedContact& contact : side.contacts) {
      if (contact.alive && chance_.happens(options_.change_share)) put_contact(record, contact, false);
    }
    if (chance_.happens(0.3)) put_contact(record, cast_.add_contact(side), true);
  }

  void put_side_changes(Dict record, const GeneratedSide& side) {
    if (chance_.happens(0.3)) branch(record, {"Side"}).set("Doctrine", units_.doctrine_changes());
    if (chance_.happens(0.3)) branch(record, {"Side", "ReferencePoints"}).set("r9", Dict{{"Value", 9}});
    if (gap(0.1)) branch(record, {"Side"}).set("Unheard", "side");
    if (chance_.happens(0.3)) branch(record, {"SideReal"}).set("Speed", chance_.below(9));
    if (chance_.happens(0.3)) record.set("SideVitalChange", Dict{{"TotalScore", chance_.real(-10, 10)}});
    if (chance_.happens(0.5)) record.set("SideKeyMsg", key_messages(side));
  }

  Dict key_messages(const GeneratedSide& side) {
    Dict messages;
    const auto fresh = fmt::format("{}-message-{}", side.id, chance_.below(20));
    List announced{Dict{{"ID", fresh}, {"Name", fresh}, {"Type", 2}, {"Lon", 120.5}, {"Lat", 20.5}}};
    announced.push_back(Dict{{"ID", side.contacts.front().id}, {"Name", "known already"}});
    if (options_.gaps) announced.push_back(Dict{{"ID", ""}});
    if (chance_.happens(0.6)) messages.set("3", announced);
    List records;
    for (int left = 3 + chance_.below(10); left > 0; --left) {
      const auto known = chance_.below(options_.contacts_per_side);  // the first gets more than a contact keeps
      const auto id = left % 2 == 0 ? fresh : side.contacts[left % 3 == 0 ? known : 0].id;
      records.push_back(Dict{{"ContactID", id}, {"Number", chance_.below(1000)}});
    }
    if (options_.gaps) records.push_back(Dict{{"Number", -1}});
    if (chance_.happens(0.7)) messages.set("7", List{Dict{{"LastDetectionList", records}}, Dict{{"ID", "no list"}}});
    if (chance_.happens(0.3)) messages.set(" 12", List{Dict{{"Text", "other"}}});
    if (gap(0.2)) messages.set("seven", List{Dict{{"Text", "dropped"}}});
    return messages;
  }

  // Deletions. Without gaps they name units, missions and contacts that are there.

  void put_deletions(Dict record, GeneratedSide& side) {
    for (const char* table : kSideTables) {
      if (chance_.happens(0.1)) branch(record, {"Side", "mapdel"}).set(table, units_.deletion("r", 5));
    }
    if (chance_.happens(0.2)) delete_unit(record, side);
    if (chance_.happens(0.1)) delete_mission(record, side);
    if (chance_.happens(0.2)) delete_contact(record, side);
    if (chance_.happens(0.2)) branch(record, {"SideReal", "mapdel"}).set("WeaponSalvos", units_.deletion("s", 4));
    if (chance_.happens(0.2)) {
      branch(record, {"SideReal", "WeaponSalvos", "s1", "mapdel"}).set("Shooters", units_.deletion("s", 4));
    }
    if (chance_.happens(0.2)) {
      const std::string id = fmt::format("{}-mission-{}", side.id, options_.gaps ? chance_.below(12) : 6);
      branch(record, {"Side", "Missions", "Cargo", id, "mapdel"}).set("MountsToUnload", units_.deletion("m", 4));
    }
    const std::initializer_list<std::string_view> odd[] = {{"SidePosition", "mapdel", "Unheard"},
                                                           {"SideReal", "ActiveUnits", "mapdel", "Unheard"},
                                                           {"SideReal", "ActiveUnits", "mapdel", "Ship"},
                                                           {"Side", "mapdel", "ActiveUnitsInfo"},
                                                           {"Side", "Missions", "mapdel", "Unheard"}};
    for (const auto& path : odd) {
      if (gap(0.1)) branch(record, path).update(units_.deletion("u", 3));
    }
  }

  void delete_unit(Dict record, GeneratedSide& side) {
    GeneratedUnit& unit = side.units[chance_.below(static_cast<int>(side.units.size()))];
    if (!unit.alive && !options_.gaps) return;
    unit.alive = false;
    const Dict entry{{"v", List{unit.id}}};
    const int places = 1 + chance_.below(7);  // one place, two or all three
    if ((places & 1) != 0) branch(record, {"Side", "mapdel"}).set("ActiveUnitsInfo", entry);
    if ((places & 2) != 0) branch(record, {"SideReal", "ActiveUnits", "mapdel"}).set(unit.category, entry);
    if ((places & 4) != 0) branch(record, {"SidePosition", "mapdel"}).set(unit.category, entry);
  }

  void delete_mission(Dict record, GeneratedSide& side) {
    GeneratedMission& mission = side.missions[chance_.below(static_cast<int>(side.missions.size()))];
    if (!options_.gaps && (!mission.alive || mission.category == "Unheard")) return;
    mission.alive = options_.gaps && chance_.happens(0.2);  // some are reported on
    branch(record, {"Side", "Missions", "mapdel"}).set(mission.category, Dict{{"v", List{mission.id}}});
  }

  void delete_contact(Dict record, GeneratedSide& side) {
    GeneratedContact& contact = side.contacts[chance_.below(static_cast<int>(side.contacts.size()))];
    if (!options_.gaps && !Cast::may_leave(contact)) return;
    contact.alive = options_.gaps && chance_.happens(0.2);
    const char* const part = chance_.happens(0.7) ? "SideReal" : "SidePosition";
    branch(record, {part, "mapdel"}).set("Contacts", Dict{{"v", List{contact.id}}});
  }

  GeneratorOptions options_;
  Chance chance_;
  UnitRecords units_;
  Cast cast_;
};

}  // namespace

GeneratedEpisode generate_episode(const GeneratorOptions& options, int updates) {
  return Generator(options).run(updates);
}

}  // namespace tessra::testing
