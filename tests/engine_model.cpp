// Elements, views and the initial build.

#include "Tessra/entitys/strikemission.h"
#include "support/engine_fixture.h"
#include "support/record_tree.h"

namespace tessra::testing {
namespace {

class InitialBuild : public EngineTest {
 protected:
  /// Puts an entry in front of the others of a side's table: what is passed over must not end the walk.
  void put_first(const char* side, const char* table, const char* id, const Dict& entry) {
    Dict entries{{id, entry}};
    Dict parent = branch(initial_side(side), {"SideReal"});
    if (table == std::string("Aircraft")) parent = branch(parent, {"ActiveUnits"});
    entries.update(parent.at_dict(table));
    parent.set(table, entries);
  }
  Dict initial_side(const char* id) { return branch(server->initial.as_dict(), {"Situation", "SituationSides", id}); }
};

TEST_F(InitialBuild, joins_the_parts_of_a_side) {
  put_first("r", "Contacts", "c0", Dict{{"Side", List()}});
  start();
  Dict alpha = element("a1").attributes().shallow_copy();
  for (const char* table : {"Doctrine", "Mounts", "Sensors", "_game_server"})
    EXPECT_TRUE(alpha.erase(table)) << "flattened: " << table;
  EXPECT_EQ(Value(alpha), Value(json("{'Name': 'Alpha 1', 'Side': '红方', 'ElementType': 4, 'ID': 'a1', 'UnitType': 1,"
                                     "'Lon': 1.0, 'Lat': 2.0, 'Fuel': 1.0}")));
  EXPECT_EQ(Value(engine().init_units),
            Value(json("{'a1': {'Lon': 1.0, 'Lat': 2.0, 'Type': 1}, 's1': {'Lon': 3.0,"
                       "'Lat': 4.0, 'Type': 1}, 'u9': {'Lon': 5.0, 'Lat': 6.0, 'Type': 1}}")));
  EXPECT_EQ(red().missions_obj.at("Cap")->get_dict("Flight").size(), 2u);
  EXPECT_FALSE(element("m1").has_attribute("Mission"));
  EXPECT_EQ(engine().elements.at("r"), engine().players.at("红方"));
  EXPECT_EQ(red().units_of_name.at("Alpha 1")->guid(), "a1");
  EXPECT_FALSE(engine().scenario_obj->has_attribute("SideInfo")) << "that is the sides' own";
  EXPECT_EQ(contacts().at_dict("c1").at("Side"), Value("蓝方")) << "sides of contacts are shown by name";
  EXPECT_FALSE(engine().elements.contains("g1")) << "nobody plays the green side";
  EXPECT_THAT(seams.console->printed, Contains("推演第1局处理初始化态势完成, 单元和任务总数:4"));
}

TEST_F(InitialBuild, shares_a_friends_contacts) {
  put_first("g", "Contacts", "c1", Dict{{"Name", "known to both"}});
  start();
  EXPECT_EQ(contacts().at_dict("c1").at("Name"), Value("Bogey"));
  EXPECT_TRUE(contacts().contains("gc1")) << "unknown to red";
  EXPECT_TRUE(contacts().contains("gc2")) << "red's own contact on that unit is older";
  EXPECT_FALSE(contacts().contains("gc3")) << "it is red's own unit";
  EXPECT_TRUE(contacts().at_dict("gc1").is(engine().friend_side_contacts.at_dict("g").at_dict("gc1")));
  EXPECT_TRUE(red().get_dict("friend_side_units").at_dict("绿方").contains("g1"));
  EXPECT_TRUE(blue().get_dict("Contacts").empty());
}

TEST_F(InitialBuild, keeps_the_better_own_contact) {
  const struct {
    const char *own, *theirs;
    bool adopted;
  } cases[] = {
      {"{'IDStatus': 2, 'Age': 9}", "{'IDStatus': 1, 'Age': 1}", false},
      {"{'IDStatus': 1, 'Age': 3}", "{'IDStatus': 1}", false},  // an absent age counts as 3
      {"{'IDStatus': 1, 'Age': 4}", "{'IDStatus': 1}", true},
      {"{'IDStatus': 1}", "{}", false},  // an absent status counts as 0
      {"{}", "{}", true},
  };
  for (const auto& given : cases) {
    const auto set_quality = [this](const char* side, const char* id, const char* quality) {
      Dict contact = branch(initial_side(side), {"SideReal", "Contacts", id});
      for (const char* key : {"IDStatus", "Age"}) contact.erase(key);
      contact.update(json(quality));
    };
    set_quality("r", "c1", given.own);
    set_quality("g", "gc2", given.theirs);
    ASSERT_EQ(engine().reset(1), 1);
    EXPECT_EQ(contacts().contains("gc2"), given.adopted) << given.own << " against " << given.theirs;
  }
}

TEST_F(InitialBuild, reports_every_gap_and_goes_on) {
  const Dict red_side = initial_side("r");
  branch(red_side, {"SideReal", "ActiveUnits"}).set("Group", json("{'gr': {'Fuel': 0.0}}"));
  put_first("r", "Aircraft", "ghost", Dict());
  branch(red_side, {"SideReal", "ActiveUnits", "Ship"}).set("typeless", Dict());
  branch(red_side, {"SidePosition", "Ship"}).set("typeless", Dict());
  branch(red_side, {"SideReal", "Contacts"}).set("c0", Dict());
  branch(red_side, {"Side", "ActiveUnitsInfo"})
      .update(json("{'gr': {'Name': 'Group'}, 'odd': {'Name': 'Odd', 'UnitType': 5}, 'anon': {'UnitType': 2, 'Name': "
                   "''}, 'typeless': {}}"));
  branch(red_side, {"SidePosition", "Contacts"}).erase("c1");
  start();
  EXPECT_THAT(seams.console->printed,
              ElementsAre("初始化态势出错！单元-ghost-在推演方-红方-实时动态信息中存在但没有基本信息!",
                          "初始化态势出错！类别-Ship-单元-typeless-在推演方-红方-没有UnitType!",
                          "初始化态势出错！类别-Group-在推演方-红方-实时动态信息中存在但没有位置!",
                          "初始化态势出错！单元-gr-在推演方-红方-实时动态信息中存在但没有位置!",
                          "初始化态势出错！情报-Bogey-在推演方-红方-实时动态信息中存在但没有位置!",
                          "初始化态势出错！情报-No Name-在推演方-红方-实时动态信息中存在但没有位置!",
                          "初始化态势出错！单元-odd-在推演方-红方-未知UnitType值:5!",
                          "Ship anon create but has no name!", "推演第1局处理初始化态势完成, 单元和任务总数:4",
                          "第1局, 当前推演时间:60s, 智能体initial完成, 决策间隔:30s "));
  EXPECT_FALSE(engine().elements.contains("gr")) << "a group without a position gets no UnitType";
  EXPECT_EQ(element("a1").get_attribute("Lon"), Value(1.0));
}

TEST_F(InitialBuild, fails_with_a_message_on_an_empty_side) {
  with_log();
  for (const std::string part : {"SideReal", "Side"}) {
    initial_side("b").set(part, Dict());
    EXPECT_EQ(engine().reset(1), -4);
    EXPECT_EQ(log->lines.back(), "error: 推演第" + std::to_string(engine().current_round) +
                                     "局处理初始化态势失败，错误:初始全量态势，推演方-b-的" + part + "没有有效值！");
  }
  EXPECT_FALSE(engine().process_init_situation(json("{'ScenarioInfo': {'x': 1}, 'Situation': {}}")));
  EXPECT_EQ(log->lines.back(), "error: 推演第2局处理初始化态势失败，收到态势为空！");
}

TEST_F(InitialBuild, the_scenarios_id_is_the_one_merged_last) {
  server->initial.as_dict().at_dict("Situation").set("SituationInfo", json("{'ScenarioID': 'info'}"));
  start();
  EXPECT_EQ(engine().scenario_obj->guid(), "info");
  server->initial.as_dict().set("Events", json("{'ScenarioID': 'events'}"));
  ASSERT_EQ(engine().reset(2), 1);
  EXPECT_EQ(engine().scenario_obj->guid(), "events");
}

TEST_F(InitialBuild, what_is_wrong_with_the_sides_fails_in_the_build) {
  const Value answers[] = {Value(), List{"r"}, json("{'r': 5}"), json("{'r': {'Friend': []}}"),
                           json("{'r': {'Name': '红方', 'Friend': 5}}")};
  for (const Value& answer : answers) {
    server->sides = answer;
    seams.console->printed.clear();
    engine().sides_info = Dict();
    engine().need_set_friend_side = true;
    EXPECT_EQ(engine().reset(1), -4) << answer.to_text();
    EXPECT_EQ(engine().error_room_flag, 1);
    EXPECT_EQ(engine().sides_info, answer) << "adopted as it is";
    EXPECT_THAT(seams.console->printed, Contains(HasSubstr("处理初始化态势失败，错误:")));
  }
}

TEST_F(InitialBuild, derives_friends_from_postures) {
  start();
  engine().sides_info = Dict();
  engine().get_sides_info_from_situation(
      json("{'ScenarioInfo': {'SideInfo': {'y': {'Name': '黄方'}, 'r': {'Name': '红方', 'Postures': {'b': 3}},"
           "'g': {'Name': '绿方', 'Postures': {'b': 0, 'r': 1}}}}}"));
  EXPECT_EQ(Value(engine().sides_info),
            Value(json("{'y': {'Name': '黄方', 'Friend': []}, 'r': {'Name': '红方', 'Friend': ['g']},"
                       "'g': {'Name': '绿方', 'Friend': []}}")));
  EXPECT_EQ(engine().friend_side_set, TextSet{"g"});
}

class Elements : public EngineTest {};
class KnownElements : public StartedTest {};

TEST_F(Elements, without_a_name_or_a_side_are_not_made) {
  using enum ElementType;
  start();
  const std::pair<ElementType, const char*> units[] = {{Group, "Group 编队"},         {Aircraft, "Aircraft 飞机"},
                                                       {Ship, "Ship 舰船"},           {Submarine, "Submarine 潜艇"},
                                                       {Satellite, "Satellite 卫星"}, {Facility, "Facility 地面装备"},
                                                       {Weapon, "Weapon 武器"}};
  const std::pair<ElementType, const char*> missions[] = {
      {StrikeMission, "Strike"}, {PatrolMission, "Patrol"},       {SupportMission, "Support"}, {FerryMission, "Ferry"},
      {MineMission, "Mine"},     {MineClearMission, "MineClear"}, {CargoMission, "Cargo"}};
  const Value named = json("{'Name': 'N'}");
  const auto printed = [&](const Value& record, ElementType type, const char* side) {
    EXPECT_TRUE(engine().create_element("x", record, type, side));
    return seams.console->printed.back();
  };
  for (const auto& [type, names] : units) {
    const std::string both = names;
    const std::string english = both.substr(0, both.find(' ')), chinese = both.substr(both.find(' ') + 1);
    EXPECT_EQ(printed(json("{'Name': ''}"), type, "红方"), english + " x create but has no name!");
    EXPECT_EQ(printed(named, type, "nobody"), "创建" + chinese + "-N-无推演方-nobody!");
    EXPECT_EQ(printed(Dict(), type, "nobody"), "创建" + chinese + "--无推演方-nobody!");
  }
  for (const auto& [type, name] : missions) {
    EXPECT_EQ(printed(Dict(), type, "红方"), std::string(name) + "Mission create but has no name!!!");
    EXPECT_FALSE(engine().create_element("x", named, type, "nobody"));
  }
  EXPECT_EQ(printed(named, Side, "nobody"), "创建推演方-nobody-无对应智能体!");
  EXPECT_FALSE(engine().create_element("x", named, static_cast<ElementType>(42), "红方"));
  EXPECT_FALSE(engine().elements.contains("x"));
  EXPECT_TRUE(engine().create_element("x", named, StrikeMission, "红方"));
  EXPECT_TRUE(engine().create_element("y", named, PatrolMission, "红方"));
  EXPECT_EQ(red().missions_obj.at("N")->guid(), "y");
  EXPECT_EQ(dynamic_cast<tessra::StrikeMission&>(element("x")).escort().at("_game_server").as_host<GameServer>(),
            server);
}

TEST_F(KnownElements, take_known_names_only_and_merge_dictionaries) {
  Element& alpha = element("a1");
  alpha.set_attribute("AI", json("{'keep': 1, 'inner': {'a': 1}}"));
  alpha.set_attribute("Navigator", json("{'old': 1}"));
  alpha.set_attribute("Course", 7);
  const Dict ai = alpha.get_dict("AI");
  engine().update_element_info(
      alpha, json("{'AI': {'inner': {'b': 2}}, 'Navigator': {'new': 2}, 'Course': {'now': 'a dictionary'},"
                  "'Unheard': 1.5, 'mapdel': {}, 'Damage': 0.5}"));
  EXPECT_EQ(Value(ai), Value(json("{'keep': 1, 'inner': {'a': 1, 'b': 2}}"))) << "merged in place";
  EXPECT_EQ(alpha.get_attribute("Navigator"), Value(json("{'new': 2}")));
  EXPECT_EQ(alpha.get_attribute("Course"), Value(json("{'now': 'a dictionary'}")));
  EXPECT_EQ(alpha.get_attribute("Damage"), Value(0.5)) << "known by its default";
  EXPECT_FALSE(alpha.has_attribute("mapdel"));
  EXPECT_THAT(log->lines, ElementsAre("error: type Aircraft have no attribute Unheard, value real"));

  log->lines.clear();
  red().attributes().erase("TotalScore");
  engine().update_element_info(red(), json("{'TotalScore': 3.5}"));
  EXPECT_EQ(red().get_attribute("TotalScore"), Value(3.5)) << "known, though without a default";

  FIRST_TEST = true;
  engine().set_element_info(alpha, json("{'Damage': 1.0, 'Unheard': 1, 'mapdel': {}}"));
  FIRST_TEST = false;
  EXPECT_EQ(alpha.get_attribute("Damage"), Value(1.0));
  EXPECT_THAT(log->lines, ElementsAre("error: type Aircraft have no attribute Unheard, value integer"));
  engine().set_element_info(element("a1"), 3);
  EXPECT_EQ(log->lines.back(), "error: info_dict is not a dict");
  EXPECT_FALSE(alpha.has_attribute("Unheard"));
}

TEST_F(Elements, deletion_goes_through_the_player) {
  start();
  engine().delete_element("a1");
  engine().delete_element("scen");
  engine().delete_element("unheard");
  EXPECT_FALSE(engine().elements.contains("a1") || red().aircrafts.contains("a1") ||
               engine().elements.contains("scen"));
  engine().agent_delete("蓝方", "m1");
  engine().agent_delete("红方", "s1");
  EXPECT_TRUE(engine().elements.contains("m1") && engine().elements.contains("s1"))
      << "only missions, only of the own side";
  for (const auto& [id, type] : {std::pair("m1", ElementType::PatrolMission),
                                 {"m2", ElementType::StrikeMission},
                                 {"m3", ElementType::CargoMission}}) {
    engine().create_element(id, json("{'Name': 'N'}"), type, "红方");
    engine().agent_delete("红方", id);
    EXPECT_FALSE(engine().elements.contains(id));
  }
}

TEST_F(Elements, defaults_are_kept_where_they_are_written_into) {
  start();
  Element& alpha = element("a1");
  EXPECT_FALSE(alpha.attributes().contains("Cargos"));
  alpha.get_dict("Cargos").set("c", 1);
  EXPECT_EQ(alpha.get_dict("Cargos").size(), 1u);
  EXPECT_TRUE(element("s1").get_dict("Cargos").empty()) << "not shared between elements";
  EXPECT_EQ(thrown([&] { alpha.get_attribute("Unheard"); }),
            "tessra::KeyError: Aircraft 'a1' has no attribute 'Unheard'");
  EXPECT_EQ(thrown([&] { alpha.get_dict("Fuel"); }),
            "tessra::KindError: Aircraft attribute 'Fuel': expected dictionary, found real");
  EXPECT_THROW(RuleAgentBase("x").get_attribute("TotalScore"), KeyError);
}

}  // namespace
}  // namespace tessra::testing
