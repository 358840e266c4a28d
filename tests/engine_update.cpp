// Update situations: merge, key messages, sharing, deletions.

#include "support/engine_fixture.h"

namespace tessra::testing {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class Update : public EngineTest {
 protected:
  void SetUp() override {
    with_log();
    start();
    log->lines.clear();
  }
  /// An update of red's record alone.
  void update_red(const std::string& side_record) {
    update("{'Situation': {'SituationSides': {'r': " + side_record + "}}}");
  }
};

TEST_F(Update, merges_what_changed_positions_last) {
  update_red(
      R"({'SideReal': {'ActiveUnits': {'Aircraft': {'a1': {'Fuel': 0.5, 'Lon': 9.0, 'ActiveUnit': {'Damage': 0.1}}}}},
                 'SidePosition': {'Aircraft': {'a1': {'Lon': 1.5}}, 'Ship': {'s1': {'Lat': 4.5}}}})");
  EXPECT_EQ(element("a1").get_attribute("Lon"), Value(1.5));
  EXPECT_EQ(element("a1").get_attribute("Fuel"), Value(0.5));
  EXPECT_EQ(element("a1").get_attribute("Damage"), Value(0.1));
  EXPECT_EQ(element("s1").get_attribute("Lat"), Value(4.5));
  EXPECT_EQ(element("s1").get_attribute("Lon"), Value(3.0)) << "a part that did not change stays";
  EXPECT_THAT(log->lines, IsEmpty());
}

TEST_F(Update, new_units_are_created_or_reported) {
  update_red(R"({'Side': {'ActiveUnitsInfo': {'n1': {'Name': 'New', 'UnitType': 6}, 'n2': {'Name': 'Group'},
                                              'n3': {'Name': 'Odd', 'UnitType': 9}, 'n4': {'Name': 'Typeless'}}},
                 'SideReal': {'ActiveUnits': {'Weapon': {'n1': {}}, 'Group': {'n2': {}}, 'Ship': {'n4': {}, 'n5': {}}}},
                 'SidePosition': {'Weapon': {'n1': {'Lon': 1.0}}}})");
  EXPECT_TRUE(red().weapons.contains("n1"));
  EXPECT_TRUE(red().groups.contains("n2"));
  EXPECT_TRUE(red().units_of_name.contains("New"));
  EXPECT_THAT(log->lines, ElementsAre("error: 更新态势出错！新单元-n2-在推演方-红方-实时动态信息中存在但没有位置!",
                                      "error: 更新态势出错！新单元-n4-在推演方-红方-实时动态信息中存在但没有位置!",
                                      "error: 更新态势出错！新单元-n4-类别-Ship-在推演方-红方-没有UnitType!",
                                      "error: 更新态势出错！新单元-n5-在推演方-红方-实时动态信息中存在但没有基本信息!",
                                      "error: 更新态势出错！推演中在推演方-红方-新单元-n3-UnitType异常值:9!",
                                      "error: 更新态势出错！推演中新单元-n4-在推演方-红方-没有基本信息的UnitType!"));
}

TEST_F(Update, a_unit_deleted_and_reported_again_is_only_logged) {
  update_red("{'SideReal': {'ActiveUnits': {'mapdel': {'Aircraft': {'v': ['a1']}}}}}");
  EXPECT_FALSE(engine().elements.contains("a1"));
  EXPECT_FALSE(red().units_of_name.contains("Alpha 1"));
  update_red("{'SideReal': {'ActiveUnits': {'Aircraft': {'a1': {'Fuel': 1.0}}}}}");
  EXPECT_FALSE(engine().elements.contains("a1"));
  // Now that the unit is unknown it also lacks a basic record; a later report with a basic record names its first key.
  log->lines.clear();
  update_red("{'Side': {'ActiveUnitsInfo': {'a1': {'Name': 'Alpha 1', 'UnitType': 1}}}}");
  EXPECT_THAT(log->lines, ElementsAre("info: 更新态势出错！推演中在推演方-红方-单元-a1删除后又有信息-Name-收到!"));
}

TEST_F(Update, an_addition_and_deletion_in_one_record_ends_deleted) {
  update_red(R"({'Side': {'ActiveUnitsInfo': {'n1': {'Name': 'New', 'UnitType': 1}}},
                 'SideReal': {'ActiveUnits': {'Aircraft': {'n1': {}}, 'mapdel': {'Aircraft': {'v': ['n1']}}}},
                 'SidePosition': {'Aircraft': {'n1': {'Lon': 1.0}}, 'mapdel': {'Aircraft': {'v': ['n1']}}}})");
  EXPECT_FALSE(engine().elements.contains("n1"));
  EXPECT_FALSE(red().aircrafts.contains("n1"));
  EXPECT_TRUE(engine().crt_delete_units.contains("n1"));
  EXPECT_THAT(log->lines, IsEmpty());
}

TEST_F(Update, key_messages_find_their_contacts) {
  update_red(
      R"({'SideKeyMsg': {'3': [{'ID': 'k1', 'Name': 'Found', 'Type': 1, 'Lon': 1.0}, {'ID': 'c1'}, {'ID': ''}, {}],
                                'x': [1], '9': ['kept']}})");
  EXPECT_EQ(contacts().at_dict("k1").at("Name"), Value("Found"));
  EXPECT_EQ(contacts().at_dict("c1").at("Name"), Value("Bogey"));
  const Dict messages = red().get_dict("KeyMsg");
  EXPECT_EQ(messages.at(3).as_list().size(), 4u);
  EXPECT_FALSE(messages.contains("x"));
  EXPECT_EQ(log->lines.at(0), "info: side 红方 receive: msg_type:3 to int");
  EXPECT_THAT(log->lines.at(1), HasSubstr("error: 事件类型转换整数出错, side 红方 receive: msg_type:x, error:"));

  for (int i = 1; i <= 11; ++i) {
    update_red("{'SideKeyMsg': {'7': [{'LastDetectionList': [{'ContactID': 'c1', 'n': " + std::to_string(i) +
               "}, {'ContactID': 'unknown'}]}, {}]}}");
  }
  const List record = contacts().at_dict("c1").at_list("Record");
  ASSERT_EQ(record.size(), 10u);
  EXPECT_EQ(record.at(0).as_dict().at("n"), Value(11));
  EXPECT_EQ(record.at(9).as_dict().at("n"), Value(2));
  EXPECT_EQ(red().get_dict("KeyMsg").at(7).as_list().size(), 22u);
}

TEST_F(Update, a_friends_later_report_reaches_the_adopted_contact) {
  update(R"({'Situation': {'SituationSides': {'g': {
    'Side': {'ActiveUnitsInfo': {'g1': {'Fuel': 3.0}, 'g2': {'Name': 'Late'}}},
    'SideReal': {'Contacts': {'gc1': {'Age': 2}, 'gc3': {'Age': 1}, 'gc4': {'Name': 'Fresh', 'Type': 1, 'Lon': 1.0}}}}}}})");
  EXPECT_EQ(contacts().at_dict("gc1").at("Age"), Value(2));
  EXPECT_TRUE(contacts().contains("gc4"));
  EXPECT_FALSE(contacts().contains("gc3")) << "still red's own unit: the record knows whose it is";
  EXPECT_EQ(engine().friend_side_contacts.at_dict("g").at_dict("gc3").at("Age"), Value(1));
  const Dict units = red().get_dict("friend_side_units").at_dict("绿方");
  EXPECT_EQ(units.at_dict("g1").at("Fuel"), Value(3.0));
  EXPECT_FALSE(units.contains("g2")) << "units reported for the first time are not added";
}

TEST_F(EngineTest, a_friend_gets_units_and_contacts_as_they_were_delivered_and_keeps_them_apart) {
  server->sides.as_dict().at_dict("r").set("Friend", List{"b"});
  start();
  // Red reports blue's unit as well, after blue did.
  update(R"({'Situation': {'SituationSides': {
    'b': {'SideReal': {'ActiveUnits': {'Aircraft': {'u9': {'AI': {'Mode': 1}, 'Course': [{'Lon': 1.0}]}}}}},
    'r': {'SideReal': {'ActiveUnits': {'Aircraft': {'u9': {'AI': {'Mode': 2}}}}}}}}})");
  EXPECT_EQ(element("u9").get_dict("AI").at("Mode"), Value(2));
  const Dict known = red().get_dict("friend_side_units").at_dict("蓝方").at_dict("u9");
  EXPECT_EQ(known.at_dict("AI").at("Mode"), Value(1));
  EXPECT_EQ(known.at("Course"), element("u9").get_attribute("Course"));
  EXPECT_FALSE(known.at("Course").is(element("u9").get_attribute("Course")));

  // Blue has a new contact, and at once a message on it.
  update(R"({'Situation': {'SituationSides': {'b': {
    'SideReal': {'Contacts': {'bc9': {'Name': 'Seen', 'Type': 1, 'Lon': 1.0, 'Emissions': {'e1': 2}}}},
    'SideKeyMsg': {'7': [{'LastDetectionList': [{'ContactID': 'bc9', 'n': 1}]}]}}}}})");
  const Dict own = blue().get_dict("Contacts").at_dict("bc9");
  const Dict shared = contacts().at_dict("bc9");
  EXPECT_TRUE(own.contains("Record"));
  EXPECT_FALSE(shared.contains("Record"));
  EXPECT_TRUE(shared.is(engine().friend_side_contacts.at_dict("b").at_dict("bc9")));
  EXPECT_FALSE(shared.at("Emissions").is(own.at("Emissions")));
}

/// What a service hands over as trees may have lost entries, whose gaps are closed when others come.
TEST_F(Update, a_table_of_units_with_gaps_reaches_the_right_units) {
  Value tree = json(
      R"({'Situation': {'SituationSides': {'r': {'Side': {'ActiveUnitsInfo': {}},
                                                'SideReal': {'ActiveUnits': {'Aircraft': {'a1': {'Fuel': 7.0}},
                                                                             'Ship': {'s1': {'Fuel': 8.0}}}},
                                                'SidePosition': {'Ship': {'s1': {'Lon': 9.0}}}}}}})");
  Dict units = tree.as_dict()
                   .at_dict("Situation")
                   .at_dict("SituationSides")
                   .at_dict("r")
                   .at_dict("Side")
                   .at_dict("ActiveUnitsInfo");
  for (int gone = 0; gone < 40; ++gone) units.set("gone-" + std::to_string(gone), Dict());
  units.set("a1", Dict{{"Speed", 1.0}});
  for (int unknown = 0; unknown < 50; ++unknown) units.set("x-" + std::to_string(unknown), Dict{{"Speed", 99.0}});
  for (int gone = 0; gone < 40; ++gone) units.erase("gone-" + std::to_string(gone));
  engine().process_step_situation(tree);
  EXPECT_EQ(element("a1").get_attribute("Fuel"), Value(7.0));
  EXPECT_EQ(element("a1").get_attribute("Speed"), Value(1.0));
  EXPECT_EQ(element("s1").get_attribute("Fuel"), Value(8.0));
  EXPECT_EQ(element("s1").get_attribute("Lon"), Value(9.0));
}

TEST_F(Update, scenario_attributes_of_later_records_win) {
  engine().scenario_obj->set_attribute("Both", 0);
  engine().scenario_obj->set_attribute("All", 0);
  update(R"({'ScenarioInfo': {'Time': 125500, 'Both': 1, 'All': 1, 'SideInfo': {'r': {'Postures': {'b': 3}}}},
             'Situation': {'SituationInfo': {'Both': 2, 'All': 2}, 'SituationSides': {'r': {}}}, 'Events': {'All': 3}})");
  EXPECT_EQ(engine().scenario_obj->get_attribute("Both"), Value(2));
  EXPECT_EQ(engine().scenario_obj->get_attribute("All"), Value(3));
  EXPECT_EQ(red().get_attribute("Postures"), Value(json("{'b': 3}")));
  EXPECT_EQ(engine().time_elapsed, 125.5);
  EXPECT_EQ(engine().start_game_time_elapsed, 60.0);
  EXPECT_EQ(engine().simulate_time, "1970-01-01 00:02:05");
  EXPECT_EQ(red().time_elapsed(), 125.5);
  EXPECT_EQ(server->calls.back(), "update_simulate_timestamp(125500)");
}

TEST_F(Update, the_end_flag_and_empty_records) {
  engine().process_step_situation({});
  EXPECT_FALSE(engine().is_done());
  update("{'IsEnd': false}");
  EXPECT_FALSE(engine().is_done());
  update(
      "{'IsEnd': true, 'Situation': {'SituationSides': {'r': {'SideReal': {'mapdel': {'Contacts': {'v': ['c1']}}}}}}}");
  EXPECT_TRUE(engine().is_done());
  EXPECT_FALSE(contacts().contains("c1")) << "processing goes on";
  EXPECT_EQ(log->lines.at(0), "info: receive end situation!");
}

TEST_F(Update, contacts_without_type_or_place_are_reported) {
  contacts().at_dict("c1").erase("Lon");
  contacts().at_dict("gc1").erase("Type");
  contacts().at_dict("gc1").erase("Name");
  engine().check_situation();
  EXPECT_THAT(log->lines, ElementsAre("error: side:红方, contact id:c1 name:Bogey no Lon!",
                                      "error: side:红方, contact id:gc1 name:no-name no Type!"));
}

class Deletions : public Update {};

TEST_F(Deletions, reach_every_place_of_the_record) {
  red().set_attribute("WeaponSalvos", json("{'sv': {'Shooters': {'sh1': 1, 'sh2': 1}}, 'gone': {}}"));
  contacts().at_dict("c1").set("Emissions", json("{'e1': 1, 'e2': 2}"));
  Element& scenario = *engine().scenario_obj;
  scenario.set_attribute("NonActiveUnits", json("{'Aircraft': {'x': 1, 'y': 2}}"));
  scenario.set_attribute("SimEvents", json("{'ev1': {'t': 1}, 'ev2': {}}"));
  scenario.set_attribute("EventTriggers", json("{'1': {'tr1': 1, 'tr2': 2}}"));
  update(R"({'Events': {'mapdel': {'SimEvents': {'v': ['ev2', 'unknown']}},
                        'EventTriggers': {'mapdel': {'1': {'v': ['tr1']}, 'no such': {'v': ['tr2']}}}},
    'Situation': {'SituationInfo': {'NonActiveUnits': {'mapdel': {'Aircraft': {'v': ['x']}, 'Ship': {'v': ['y']}}}},
    'SituationSides': {'r': {
      'Side': {'mapdel': {'ReferencePoints': {'v': ['p1', 'p9']}, 'NoNavZones': {}, 'Name': {'v': ['x']}},
               'Missions': {'Patrol': {'m1': {'Mission': {'mapdel': {'Flight': {'v': ['f1']}}}}}},
               'ActiveUnitsInfo': {'a1': {'Doctrine': {'mapdel': {'WRA': {'v': ['w2']}}, 'WRA': {'w1': {'mapdel': {'any': {'v': ['x']}}}}}}}},
      'SideReal': {'mapdel': {'WeaponSalvos': {'v': ['gone']}},
                   'WeaponSalvos': {'sv': {'mapdel': {'Shooters': {'v': ['sh1']}}}},
                   'Contacts': {'c1': {'mapdel': {'Emissions': {'v': ['e1']}, 'Unheard': {'v': ['e2']}}}},
                   'ActiveUnits': {'Aircraft': {'a1': {'ActiveUnit': {
                      'mapdel': {'Sensors': {'v': ['se1']}, 'Warheads': {'v': ['x']}},
                      'Mounts': {'mt': {'mapdel': {'WeaponRecs': {'v': ['rec2']}},
                                        'WeaponRecs': {'rec': {'mapdel': {'Load': {'v': ['l1']}}}}},
                                 'unknown': {'mapdel': {'WeaponRecs': {'v': ['rec']}}}}}}}}},
      'SidePosition': {'mapdel': {'Contacts': {'v': ['gc1']}}}}}}})");
  EXPECT_EQ(red().get_attribute("ReferencePoints"), Value(json("{'p2': 2}")));
  EXPECT_EQ(element("m1").get_attribute("Flight"), Value(json("{'f2': 2}")));
  EXPECT_EQ(element("a1").get_dict("Doctrine").at_dict("WRA").size(), 1u);
  EXPECT_FALSE(element("a1").get_dict("Doctrine").at_dict("WRA").at_dict("w1").contains("x"));
  EXPECT_EQ(red().get_dict("WeaponSalvos").at_dict("sv").at_dict("Shooters").size(), 1u);
  EXPECT_FALSE(red().get_dict("WeaponSalvos").contains("gone"));
  EXPECT_EQ(contacts().at_dict("c1").at("Emissions"), Value(json("{'e2': 2}")));
  EXPECT_FALSE(contacts().contains("gc1"));
  EXPECT_FALSE(element("a1").get_dict("Sensors").contains("se1"));
  const Dict mount = element("a1").get_dict("Mounts").at_dict("mt").at_dict("WeaponRecs");
  EXPECT_FALSE(mount.contains("rec2"));
  EXPECT_FALSE(mount.at_dict("rec").at_dict("Load").contains("l1"));
  EXPECT_TRUE(mount.at_dict("rec").at_dict("Load").contains("l2"));
  EXPECT_FALSE(scenario.get_dict("NonActiveUnits").at_dict("Aircraft").contains("x"));
  EXPECT_FALSE(scenario.get_dict("SimEvents").contains("ev2"));
  EXPECT_FALSE(scenario.get_dict("EventTriggers").at_dict("1").contains("tr1"));
  EXPECT_TRUE(scenario.get_dict("EventTriggers").at_dict("1").contains("tr2"));
}

TEST_F(Deletions, report_what_was_never_there) {
  engine().parse_delete_situation(json(
      R"({'Situation': {'SituationSides': {'nobody': {'Side': {'mapdel': {'ActiveUnitsInfo': {'v': ['a1']}}}}, 'r': {
    'Side': {'mapdel': {'ActiveUnitsInfo': {'v': ['ghost', 's1']}},
             'Missions': {'mapdel': {'Patrol': {'v': ['m1', 'm9']}, 'Odd': {'v': ['m1']}}, 'Patrol': {'m8': {'Mission': {}}}}},
    'SideReal': {'ActiveUnits': {'mapdel': {'Aircraft': {'v': ['ghost2', 's1']}, 'Odd': {'v': ['a1']}}}},
    'SidePosition': {'mapdel': {'Odd': {'v': ['a1']}, 'Ship': {'v': ['s1', 'ghost3']}}}}}}})"));
  EXPECT_THAT(
      log->lines,
      ElementsAre("error: 出错！删除单元，类型-ghost-没有被创建!", "error: 出错！任务类型-Odd-没有在定义类型中!",
                  "error: 出错！任务ID-m8-没有创建，但需删除其中元素!",
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

TEST_F(Deletions, the_list_form_stops_at_the_first_missing_id) {
  engine().scenario_obj->set_attribute("SimEvents", json("{'ev1': {}, 'ev2': {}}"));
  const Dict items = json(R"({'list': [
    {'StructType': 11, 'v': {'x': {'v': ['ev1']}}}, {'StructType': 2, 'v': {'x': {'v': ['ev1']}}},
    {'StructType': 7, 'v': {'Aircraft': {'v': ['a1']}}}, {'StructType': 9, 'v': {'Contacts': {'v': ['c1']}}},
    {'StructType': 8, 'v': {'ReferencePoints': {'v': ['p1']}, 'ActiveUnitsInfo': {'v': ['s1']}}},
    {'StructType': 2, 'v': {'x': {'v': ['ev1']}}}, {'StructType': 2, 'v': {'x': {'v': ['ev2']}}}]})");
  engine().delete_elements(items.at("list"), red());
  EXPECT_EQ(log->lines.size(), 1u);
  EXPECT_THAT(log->lines.at(0), HasSubstr("删除信息失败:"));
  EXPECT_TRUE(engine().scenario_obj->get_dict("SimEvents").contains("ev2"));
  EXPECT_FALSE(red().aircrafts.contains("a1"));
  EXPECT_TRUE(engine().elements.contains("a1")) << "the registry is cleaned only at the end";
  EXPECT_FALSE(contacts().contains("c1"));
  engine().delete_elements(json("{'l': [{'StructType': 1, 'v': {'Patrol': {'v': ['m1']}}}]}").at("l"), red());
  EXPECT_FALSE(engine().elements.contains("m1"));
}

TEST_F(Deletions, an_item_of_the_list_form_without_an_id_touches_nothing) {
  engine().scenario_obj = nullptr;
  const Dict items = json(R"({'list': [
    {'StructType': 2, 'v': {'x': {'v': []}}}, {'StructType': 3, 'v': {'x': {'v': []}, 'y': {}}},
    {'StructType': 8, 'v': {'WeaponRecs': {'v': null}, 'ReferencePoints': {'v': []}}},
    {'StructType': 9, 'v': {'Contacts': {'v': null}}}, {'StructType': 9, 'v': {'Contacts': {'v': ['c1']}}}]})");
  engine().delete_elements(items.at("list"), red());
  EXPECT_THAT(log->lines, IsEmpty());
  EXPECT_FALSE(contacts().contains("c1")) << "the items after them are done";
  engine().delete_elements(json("{'l': [{'StructType': 7, 'v': {'Ship': {'v': null}}}]}").at("l"), red());
  EXPECT_THAT(log->lines, ElementsAre(HasSubstr("删除信息失败:"))) << "only side attributes ask for a value";
}

}  // namespace
}  // namespace tessra::testing
