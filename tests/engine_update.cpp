// Update situations: merge, key messages, sharing.

#include "support/engine_fixture.h"
#include "support/record_tree.h"

namespace tessra::testing {
namespace {

class Update : public StartedTest {
 protected:
  std::string shown(const char* id, std::initializer_list<const char*> attributes) {
    List values;
    for (const char* name : attributes) values.push_back(element(id).get_attribute(name));
    return Value(values).to_text();
  }
};

TEST_F(Update, merges_what_changed_positions_last) {
  update_red(
      R"({'SideReal': {'ActiveUnits': {'Aircraft': {'a1': {'Fuel': 0.5, 'Lon': 9.0, 'ActiveUnit': {'Damage': 0.1}}}}},
                 'SidePosition': {'mapdel': {}, 'Contacts': {}, 'Aircraft': {'a1': {'Lon': 1.5}}, 'Ship': {'s1': {'Lat': 4.5}}}})");
  EXPECT_EQ(shown("a1", {"Lon", "Fuel", "Damage"}), "[1.5, 0.5, 0.1]");
  EXPECT_EQ(shown("s1", {"Lon", "Lat"}), "[3.0, 4.5]") << "a part that did not change stays";
  EXPECT_THAT(log->lines, IsEmpty());
}

TEST_F(Update, new_units_are_created_or_reported) {
  update_red(R"({'Side': {'ActiveUnitsInfo': {'n1': {'Name': 'New', 'UnitType': 6}, 'n2': {'Name': 'Group'},
                                              'n3': {'Name': 'Odd', 'UnitType': 9}, 'n4': {'Name': 'Typeless'}}},
                 'SideReal': {'ActiveUnits': {'Weapon': {'n1': {}}, 'Group': {'n2': {}}, 'Ship': {'n4': {}, 'n5': {}}},
                              'Contacts': {'c1': {}, 'c2': {'Type': 1}, 'c3': {}}},
                 'SidePosition': {'Weapon': {'n1': {'Lon': 1.0}}, 'Contacts': {'c3': {'Lon': 1.0, 'Type': 1}}}})");
  EXPECT_TRUE(red().weapons.contains("n1"));
  EXPECT_TRUE(red().groups.contains("n2"));
  EXPECT_TRUE(red().units_of_name.contains("New"));
  EXPECT_THAT(log->lines,
              ElementsAre("error: 更新态势出错！新单元-n2-在推演方-红方-实时动态信息中存在但没有位置!",
                          "error: 更新态势出错！新单元-n4-在推演方-红方-实时动态信息中存在但没有位置!",
                          "error: 更新态势出错！新单元-n4-类别-Ship-在推演方-红方-没有UnitType!",
                          "error: 更新态势出错！新单元-n5-在推演方-红方-实时动态信息中存在但没有基本信息!",
                          "error: 更新态势出错！新情报-No Name-在推演方-红方-实时动态信息中存在但没有基本信息!",
                          "error: 更新态势出错！推演中在推演方-红方-新单元-n3-UnitType异常值:9!",
                          "error: 更新态势出错！推演中新单元-n4-在推演方-红方-没有基本信息的UnitType!",
                          "error: side:红方, contact id:c2 name:no-name no Lon!"));
}

TEST_F(Update, a_unit_is_found_by_the_name_that_an_agent_or_a_record_gave_it) {
  const auto names = [this](const char* update) {
    update_red(update);
    std::string held;
    for (const char* name : {"Alpha 1", "Beta", "Gamma"}) held += red().units_of_name.contains(name) ? name : "-";
    return held;
  };
  red().units_of_name.at("Alpha 1")->set_attribute("Name", "Beta");
  EXPECT_EQ(names("{'Side': {}}"), "-Beta-");
  EXPECT_EQ(names("{'Side': {'ActiveUnitsInfo': {'a1': {'Name': 'Gamma'}}}}"), "--Gamma");
  const auto unit = red().units_of_name.at("Gamma");
  EXPECT_EQ(names("{'Side': {'ActiveUnitsInfo': {'a1': {'Name': ''}}}}"), "---");
  EXPECT_EQ(names("{'Side': {'ActiveUnitsInfo': {'a1': {'Name': 'Beta'}}}}"), "-Beta-");
  unit->set_attribute("Name", "Alpha 1");
  EXPECT_EQ(names("{'Side': {}}"), "Alpha 1--");
  engine().names_key = false;
  unit->set_attribute("Name", "Beta");
  EXPECT_EQ(names("{'Side': {}}"), "Alpha 1--");
}

TEST_F(Update, a_unit_deleted_and_reported_again_is_only_logged) {
  update_red("{'SideReal': {'ActiveUnits': {'mapdel': {'Aircraft': {'v': ['a1']}}}}}");
  EXPECT_FALSE(engine().elements.contains("a1"));
  EXPECT_FALSE(red().units_of_name.contains("Alpha 1"));
  update_red("{'SideReal': {'ActiveUnits': {'Aircraft': {'a1': {'Fuel': 1.0}}}}}");
  EXPECT_FALSE(engine().elements.contains("a1"));
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
      R"({'SideKeyMsg': {'3': [{'ID': ''}, {}, {'ID': 'c1'}, {'ID': 'k1', 'Name': 'Found', 'Type': 1, 'Lon': 1.0}],
                                'x': [1], '9': ['kept']}})");
  EXPECT_EQ(contacts().at_dict("k1").at("Name"), Value("Found"));
  EXPECT_EQ(contacts().at_dict("c1").at("Name"), Value("Bogey"));
  const Dict messages = red().get_dict("KeyMsg");
  EXPECT_EQ(messages.at(3).as_list().size(), 4u);
  EXPECT_FALSE(messages.contains("x"));
  EXPECT_EQ(log->lines.at(0), "info: side 红方 receive: msg_type:3 to int");
  EXPECT_THAT(log->lines.at(1), HasSubstr("error: 事件类型转换整数出错, side 红方 receive: msg_type:x, error:"));

  for (int i = 1; i <= 11; ++i) {
    update_red(
        "{'SideKeyMsg': {'7': [{}, {'LastDetectionList': [{}, {'ContactID': 'unknown'}, {'ContactID': 'c1', 'n': " +
        std::to_string(i) + "}]}]}}");
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
  Dict units = branch(tree.as_dict(), {"Situation", "SituationSides", "r", "Side", "ActiveUnitsInfo"});
  for (int gone = 0; gone < 40; ++gone) units.set("gone-" + std::to_string(gone), Dict());
  units.set("a1", Dict{{"Speed", 1.0}});
  for (int unknown = 0; unknown < 50; ++unknown) units.set("x-" + std::to_string(unknown), Dict{{"Speed", 99.0}});
  for (int gone = 0; gone < 40; ++gone) units.erase("gone-" + std::to_string(gone));
  engine().process_step_situation(tree);
  EXPECT_EQ(shown("a1", {"Fuel", "Speed"}), "[7.0, 1.0]");
  EXPECT_EQ(shown("s1", {"Fuel", "Lon"}), "[8.0, 9.0]");
}

TEST_F(Update, scenario_attributes_of_later_records_win) {
  for (const char* name : {"Both", "All"}) engine().scenario_obj->set_attribute(name, 0);
  update(R"({'ScenarioInfo': {'Time': 125500, 'Both': 1, 'All': 1, 'SideInfo': {'r': {'Postures': {'b': 3}}}},
             'Situation': {'SituationInfo': {'Both': 2, 'All': 2}, 'SituationSides': {'r': {}}}, 'Events': {'All': 3}})");
  EXPECT_EQ(shown("scen", {"Both", "All"}), "[2, 3]");
  EXPECT_EQ(red().get_attribute("Postures"), Value(json("{'b': 3}")));
  EXPECT_EQ(engine().time_elapsed, 125.5);
  EXPECT_EQ(engine().start_game_time_elapsed, 60.0);
  EXPECT_EQ(engine().simulate_time, "1970-01-01 00:02:05");
  EXPECT_EQ(red().time_elapsed(), 125.5);
  EXPECT_EQ(red().simulate_timestamp, 125500);
  EXPECT_EQ(red().scenario, engine().scenario_obj);
  EXPECT_EQ(server->calls.back(), "update_simulate_timestamp(125500)");
}

TEST_F(Update, the_end_flag_and_empty_records) {
  engine().process_step_situation({});
  EXPECT_FALSE(engine().is_done());
  for (const char* no_table : {"[]", "5"})
    EXPECT_THAT(
        thrown([&] {
          engine().update_scenario_new(json("{'Events': {'x': 1}, 'ScenarioInfo': " + std::string(no_table) + "}"));
        }),
        StartsWith("tessra::KindError: 'ScenarioInfo': expected dictionary, found "));
  update("{'IsEnd': false}");
  EXPECT_FALSE(engine().is_done());
  update(
      "{'IsEnd': true, 'Situation': {'SituationSides': {'r': {'SideReal': {'mapdel': {'Contacts': {'v': ['c1']}}}}}}}");
  EXPECT_TRUE(engine().is_done());
  EXPECT_FALSE(contacts().contains("c1")) << "processing goes on";
  EXPECT_EQ(log->lines.at(0), "info: receive end situation!");
}

TEST_F(Update, contacts_without_type_or_place_are_reported) {
  contacts().at_dict("gc1").erase("Lon");
  contacts().at_dict("gc2").erase("Type");
  contacts().at_dict("gc2").erase("Name");
  engine().check_situation();
  EXPECT_THAT(log->lines, ElementsAre("error: side:红方, contact id:gc1 name:Far no Lon!",
                                      "error: side:红方, contact id:gc2 name:no-name no Type!"));
}

}  // namespace
}  // namespace tessra::testing
