// Deletions: every place of a record that may carry them, what is reported, and the list form.

#include "support/engine_fixture.h"
#include "support/record_tree.h"

namespace tessra::testing {
namespace {

class Deletions : public StartedTest {};

/// The dictionary at a path of keys with slashes between them; what is missing on the way is made. What is made may
/// come with empty records in front of what is asked for, of nobody and of another side's unit: they end no walk.
Dict at_path(Dict root, std::string_view path, bool decoys = false) {
  const Dict ahead = decoys ? json("{'decoy': {}, 'u9': {}}") : Dict();
  root.update(ahead);
  for (std::size_t slash; !path.empty(); path.remove_prefix(std::min(slash, path.size() - 1) + 1)) {
    slash = path.find('/');
    if (slash != 0) root = branch(root, {path.substr(0, slash)});
    if (root.empty()) root.update(ahead.deep_copy());
  }
  return root;
}

/// A record that carries a deletion under this name, and the table of which element it must reach, if any.
struct Place {
  std::string record, name, element, table;
};

const std::string kSide = "Situation/SituationSides/r/Side/";
const std::string kReal = "Situation/SituationSides/r/SideReal/";
const std::string kUnit = kReal + "ActiveUnits/Aircraft/a1/";
const std::string kInner = kUnit + "ActiveUnit/";

std::vector<Place> reached() {
  std::vector<Place> places = {
      {kUnit, "Warheads", "a1", "Warheads"},
      {kInner + "AI", "TargetList", "a1", "AI/TargetList"},
      {kSide + "ActiveUnitsInfo/a1/Doctrine", "WRA", "a1", "Doctrine/WRA"},
      {kSide + "ActiveUnitsInfo/a1/Doctrine/WRA/w", "any name", "a1", "Doctrine/WRA/w"},
      {kSide + "Doctrine", "WRA", "r", "Doctrine/WRA"},
      {kSide + "Missions/Patrol/m1/Mission", "Flight", "m1", "Flight"},
      {kSide + "Missions/Patrol/m1/Mission/Doctrine", "WRA", "m1", "Doctrine/WRA"},
      {kSide + "Missions/Cargo/m1", "MountsToUnload", "m1", "MountsToUnload"},
      {kReal, "WeaponSalvos", "r", "WeaponSalvos"},
      {kReal, "Contacts", "r", "Contacts"},
      {kReal + "WeaponSalvos/s", "Shooters", "r", "WeaponSalvos/s/Shooters"},
      {kReal + "Contacts/c1", "Emissions", "r", "Contacts/c1/Emissions"},
      {"Situation/SituationSides/r/SidePosition", "Contacts", "r", "Contacts"},
      {"Situation/SituationInfo/NonActiveUnits", "Aircraft", "scen", "NonActiveUnits/Aircraft"},
      {"Events", "SimEvents", "scen", "SimEvents"},
  };
  for (const char* table : {"ReferencePoints", "SpecialActions", "ExclusionZones", "NoNavZones", "AirCorridorZones"})
    places.push_back({kSide, table, "r", table});
  for (const std::string table : {"EventTriggers", "EventConditions", "EventActions", "SimEvents"})
    places.push_back({"Events/" + table, "t", "scen", table + "/t"});
  for (const char* table : {"CommDevices", "Sensors", "Mounts", "Magazines", "Cargos", "AirFacilitys", "DockFacilitys",
                            "Propulsions", "FuelRecs", "Loadouts", "RangeSymbols"})
    places.push_back({kInner, table, "a1", table});
  for (const char* record :
       {"Mounts/c", "Loadouts/c", "CommDevices/c", "Magazines/c", "Cargos/c", "Cargos/c/Mounts/m",
        "Mounts/c/WeaponRecs/w", "Mounts/c/MagazineWeaponRecs/w", "Loadouts/c/WeaponRecs/w", "Magazines/c/WeaponRecs/w",
        "Cargos/c/Mounts/m/WeaponRecs/w", "Cargos/c/Mounts/m/MagazineWeaponRecs/w"})
    places.push_back({kInner + record, "Parts", "a1", std::string(record) + "/Parts"});
  return places;
}

std::vector<Place> passed_over() {
  std::vector<Place> places = {{"Events", "EventTriggers", "scen", "EventTriggers"},
                               {kUnit, "Mounts", "a1", "Mounts"},
                               {kInner, "Navigator", "a1", "Navigator"},
                               {kSide, "WeaponSalvos", "r", "WeaponSalvos"},
                               {kReal, "ReferencePoints", "r", "ReferencePoints"},
                               {kReal + "WeaponSalvos/s", "Plan", "r", "WeaponSalvos/s/Plan"},
                               {kInner + "AI", "Plan", "a1", "AI/Plan"},
                               {kSide + "Doctrine", "Plan", "r", "Doctrine/Plan"}};
  for (const char* record : {"Missions/Patrol/m1/Mission", "Missions/Cargo/m1"})
    places.push_back({kSide + record, "Plan", "m1", "Plan"});
  for (const char* record :
       {"Sensors/c", "Loadouts/c/MagazineWeaponRecs/w", "CommDevices/c/WeaponRecs/w", "Cargos/c/WeaponRecs/w"})
    places.push_back({kInner + record, "Parts", "a1", std::string(record) + "/Parts"});
  return places;
}

TEST_F(Deletions, reach_the_table_they_are_listed_for_and_no_other) {
  for (const bool reaches : {true, false}) {
    for (const auto& [record, name, holder, table] : reaches ? reached() : passed_over()) {
      SCOPED_TRACE(record + ": " + name);
      Dict held = at_path(element(holder).attributes(), table);
      held.update(json("{'gone': {}, 'kept': {}}"));
      Dict update;
      at_path(update, record + "/mapdel", true).set(name, json("{'v': ['unknown', 'gone']}"));
      engine().process_step_situation(update);
      EXPECT_EQ(held.contains("gone"), !reaches);
      EXPECT_TRUE(held.contains("kept"));
    }
  }
}

TEST_F(Deletions, report_what_was_never_there) {
  engine().process_step_situation(json(
      R"({'Situation': {'SituationSides': {'nobody': {'Side': {'mapdel': {'ActiveUnitsInfo': {'v': ['a1']}}}}, 'r': {
    'Side': {'mapdel': {'ActiveUnitsInfo': {'v': ['ghost', 's1']}},
             'Missions': {'mapdel': {'Patrol': {'v': ['m9', 'm1']}, 'Odd': {'v': ['m1']}}, 'Patrol': {'m8': {'Mission': {}}}}},
    'SideReal': {'ActiveUnits': {'mapdel': {'Aircraft': {'v': ['ghost2', 's1']}, 'Odd': {'v': ['a1']}}}},
    'SidePosition': {'mapdel': {'Odd': {'v': ['a1']}, 'Ship': {'v': ['s1', 'ghost3']}}}}}}})"));
  EXPECT_THAT(
      log->lines,
      ElementsAre("error: PatrolMission create but has no name!!!", "error: 出错！删除单元，类型-ghost-没有被创建!",
                  "error: 出错！任务类型-Odd-没有在定义类型中!", "error: 出错！任务ID-m8-没有创建，但需删除其中元素!",
                  "error: 出错！删除单元，类型-Aircraft-id:ghost2-没有被创建!",
                  "error: 出错！类型-Odd-没有在定义类型中!", "error: 出错！类型-Odd-没有在定义类型中!"));
  EXPECT_EQ(engine().crt_delete_units, (TextSet{"ghost", "s1", "ghost2", "ghost3"}));
  EXPECT_FALSE(engine().elements.contains("s1"));
  EXPECT_FALSE(engine().elements.contains("m1")) << "listed under an unknown category as well as its own";
  EXPECT_FALSE(red().missions_obj.contains("Cap"));
  EXPECT_TRUE(engine().elements.contains("a1"));
}

TEST_F(Deletions, leave_parts_alone_that_are_not_mentioned) {
  // The service may leave a part empty with a none or a list; only a deletion in it may stumble over that.
  Element& unit = element("a1");
  unit.set_attribute("Cargos", json("{'l': [1]}").at("l"));
  unit.set_attribute("Doctrine", json("{'WRA': null}"));
  red().set_attribute("NoNavZones", Value());
  unit.get_dict("Mounts").set("mt", json("{'WeaponRecs': [], 'MagazineWeaponRecs': null}"));
  EXPECT_NO_THROW(update_red(R"({
    'Side': {'ActiveUnitsInfo': {'a1': {'Doctrine': {'Roe': 1, 'mapdel': {'Roe': {'v': ['x']}}}}},
             'mapdel': {'NoNavZones': {'v': ['x']}},
             'Missions': {'Cargo': {'m1': {'mapdel': {'MountsToUnload': {'v': ['x']}}}}}},
    'SideReal': {'WeaponSalvos': {'Count': 3, 'sv': {}},
                 'ActiveUnits': {'Aircraft': {'a1': {'ActiveUnit': {'Mounts': {'mt': {'Status': 1}}}}}}}})"));
  EXPECT_EQ(unit.get_dict("Mounts").at_dict("mt").get("Status"), Value(1));
  EXPECT_THROW(update_red(R"({'SideReal': {'ActiveUnits': {'Aircraft': {'a1': {'ActiveUnit': {
                                 'mapdel': {'Cargos': {'v': ['x']}}}}}}}})"),
               KindError);
  update_red(R"({'Side': {'mapdel': {'ExclusionZones': {'v': ['x']}}}})");
  EXPECT_FALSE(red().attributes().contains("ExclusionZones")) << "nothing is stored for looking";
}

/// A list of one item of the list form: the deletion of these ids under this name.
List item(const Value& type, const Value& name, const Value& ids) {
  return {Dict{{"StructType", type}, {"v", Dict{{"no ids", Dict()}, {name, Dict{{"v", ids}}}}}}};
}

TEST_F(Deletions, of_the_list_form_reach_the_table_of_their_type) {
  struct Item {
    Value type;
    std::string name, element, table;
    bool reaches = true;
  };
  std::vector<Item> cases = {{2, "any", "scen", "SimEvents"},     {2.0, "any", "scen", "SimEvents"},
                             {3, "t", "scen", "EventTriggers/t"}, {4, "t", "scen", "EventConditions/t"},
                             {5, "t", "scen", "EventActions/t"},  {6, "t", "scen", "THNonActiveUnitColl/t"},
                             {9, "Contacts", "r", "Contacts"},    {9, "KeyMsg", "r", "KeyMsg", false},
                             {8, "KeyMsg", "r", "KeyMsg", false}};
  for (const char* name :
       {"ReferencePoints", "WeaponRecs", "SpecialActions", "ExclusionZones", "NoNavZones", "AirCorridorZones"})
    cases.push_back({8, name, "r", name});
  for (const Value& type : {Value(0), Value(10), Value(9.5), Value("9")})
    cases.push_back({type, "Contacts", "r", "Contacts", false});
  for (const auto& [type, name, holder, table, reaches] : cases) {
    SCOPED_TRACE(type.to_text() + ": " + name);
    Dict held = at_path(element(holder).attributes(), table);
    held.update(json("{'gone': {}, 'kept': {}}"));
    engine().delete_elements(item(type, name, List{"gone"}), red());
    EXPECT_EQ(held.contains("gone"), !reaches);
    engine().delete_elements(item(type, name, List{"gone", "kept"}), red());
    EXPECT_EQ(log->lines.size(), reaches ? 1U : 0U) << "what is missing ends the pass";
    EXPECT_TRUE(held.contains("kept"));
    log->lines.clear();
  }
}

TEST_F(Deletions, of_the_list_form_take_units_and_missions_out_of_the_registry_at_the_end) {
  List items = item(7, "Aircraft", List{"a1"});
  items.extend(item(9, "Contacts", List{"unknown"}));
  engine().delete_elements(items, red());
  EXPECT_THAT(log->lines, ElementsAre("error: 删除信息失败:missing key 'unknown'"));
  EXPECT_TRUE(engine().elements.contains("a1")) << "the end was not reached";
  EXPECT_FALSE(red().aircrafts.contains("a1"));
  log->lines.clear();
  engine().delete_elements(item(8, "ActiveUnitsInfo", List{"s1", "unknown"}), red());
  EXPECT_FALSE(red().ships.contains("s1") || engine().elements.contains("s1"));
  engine().delete_elements(item(1, "Odd", List{"m1"}), red());
  EXPECT_TRUE(red().missions_obj.contains("Cap"));
  EXPECT_FALSE(engine().elements.contains("m1"));
  update_red("{'Side': {'Missions': {'Patrol': {'m2': {'Name': 'Cap'}}}}}");
  engine().delete_elements(item(1, "Patrol", List{"m2"}), red());
  EXPECT_FALSE(red().missions_obj.contains("Cap") || engine().elements.contains("m2"));
  engine().delete_elements(item(7, "Odd", List{"u9"}), red());
  EXPECT_FALSE(engine().elements.contains("u9"));
  EXPECT_THAT(log->lines, ElementsAre("error: 出错！类型-Odd-没有在定义类型中!",
                                      "error: 出错！删除单元，类型-Odd-没有在定义类型中!"));
}

TEST_F(Deletions, of_the_list_form_touch_nothing_without_an_id) {
  engine().scenario_obj = nullptr;
  for (const int type : {1, 2, 3, 4, 5, 6, 7, 8, 9}) engine().delete_elements(item(type, "Contacts", List()), red());
  for (const int type : {8, 9}) engine().delete_elements(item(type, "Contacts", Value()), red());
  EXPECT_THAT(log->lines, IsEmpty());
  engine().delete_elements(item(7, "Ship", Value()), red());
  EXPECT_THAT(log->lines, ElementsAre(HasSubstr("删除信息失败:"))) << "only side attributes ask for a value";
}

}  // namespace
}  // namespace tessra::testing
