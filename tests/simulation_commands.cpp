#include <gmock/gmock.h>

#include "simulation/combat.h"
#include "simulation/command_reader.h"
#include "simulation_fixture.h"

namespace tessra::sim {
namespace {

class Commands : public ::testing::Test {
 protected:
  /// The reason why a command is bad, "" when it takes effect; a bad one must leave the world as it was.
  std::string run(const std::string& text) {
    const std::string command = with_ids(simulation_, text);
    const std::string before = write_json(simulation_.initial_situation());
    const std::vector<CommandFault> faults = simulation_.execute({command});
    if (faults.empty()) return "";
    EXPECT_EQ(write_json(simulation_.initial_situation()), before) << command;
    return faults.front().reason;
  }
  CommandFault refused(const std::string& command) { return simulation_.execute({command}).at(0); }

  Simulation simulation_ = play_shipped("skirmish", 30, 1);
};

TEST_F(Commands, a_package_reports_its_bad_ones_and_runs_the_others) {
  std::vector<std::string> package = {"SetSpeed({SIDE='红方',UNIT='<red-frigate-1>',SPEED=5})", "Dance({SIDE='红方'})",
                                      "SetRadar({SIDE='红方',UNIT='<red-frigate-1>',ON=false})",
                                      "SetSpeed({SIDE='红方',UNIT='<red-frigate-1>'})"};
  for (std::string& text : package) text = with_ids(simulation_, text);
  const std::vector<CommandFault> faults = simulation_.execute(package);
  ASSERT_EQ(faults.size(), 2U);
  EXPECT_EQ(faults[0].number, 2);
  EXPECT_NE(faults[0].reason.find("Dance"), std::string::npos);
  EXPECT_EQ(faults[1].number, 4);
  EXPECT_EQ(faults[1].reason, "SPEED is missing");
  EXPECT_EQ(unit_of(simulation_, "red-frigate-1").ordered_speed, 5);
  EXPECT_FALSE(unit_of(simulation_, "red-frigate-1").radar_on);
}

TEST(CommandReader, reads_one_call_with_one_table_of_literals) {
  const std::pair<const char*, const char*> cases[] = {
      {"Go({})", "{}"},
      {" ; Go (\t{ A = 1 ; } ) ;\n;", R"({"A":1})"},
      {"Go({A='it\\'s', B=\"\\\"\\n\\065\\x42\\\\\", C='红\\000'})",
       "{\"A\":\"it's\",\"B\":\"\\\"\\nAB\\\\\",\"C\":\"红\\u0000\"}"},
      {"Go({A=-7, B=9223372036854775807, C=-9223372036854775808, D=007})",
       R"({"A":-7,"B":9223372036854775807,"C":-9223372036854775808,"D":7})"},
      {"Go({A=.5, B=5., C=1e3, D=-2.5E-1, E=9223372036854775808, F=5e-324})",
       R"({"A":0.5,"B":5.0,"C":1000.0,"D":-0.25,"E":9.223372036854776e+18,"F":5e-324})"},
      {"Go({A=true, B=false, C=nil, D={nil}, E={1, nil}})", R"({"A":true,"B":false,"D":[],"E":[1]})"},
      {"Go({A={{LON=1, LAT=2}, {['LON']=3, [\"LAT\"]=4,},}, B={{}}})",
       R"({"A":[{"LON":1,"LAT":2},{"LON":3,"LAT":4}],"B":[[]]})"},
      {"Go({A=1, A=2, B=3, B=nil})", R"({"A":2})"},
      {"Go({A={{{{{{{1}}}}}}}})", R"({"A":[[[[[[[1]]]]]]]})"},
  };
  for (const auto& [text, arguments] : cases) {
    const CommandCall call = read_command(text);
    EXPECT_EQ(call.name, "Go");
    EXPECT_EQ(write_json(call.arguments), arguments) << text;
  }
}

TEST_F(Commands, what_is_no_order_is_refused_with_its_place) {
  std::string many = "ChangeSpeed({SPEED={";
  for (int i = 0; i < 10'000; ++i) many += "1,";
  const std::pair<std::string, const char*> cases[] = {
      {"", "byte 1: a command must start with its name"},
      {"while true do end", "byte 7: '(' is missing after the command's name"},
      {"os.execute('true')", "byte 3: '(' is missing after the command's name"},
      {"print(1)", "byte 7: a command takes one table, '{'"},
      {"ChangeSpeed({SPEED='1'})ChangeSpeed({})", "byte 25: there is more than one command"},
      {"ChangeSpeed({SPEED=1}, {})", "byte 22: ')' is missing after the table"},
      {"ChangeSpeed({SPEED=('x'):rep(1e9)})", "byte 20: a text, number, true, false, nil or table is missing"},
      {"ChangeSpeed({SPEED=leak})", "byte 20: 'leak' is not a value; texts need quotes"},
      {"ChangeSpeed({SPEED=1 .. 2})", "byte 22: ',' or '}' is missing"},
      {"ChangeSpeed({SPEED=1", "byte 21: ',' or '}' is missing"},
      {"ChangeSpeed({SPEED=-inf})", "byte 20: '-inf' is not a number"},
      {"ChangeSpeed({SPEED=nan})", "byte 20: 'nan' is not a value; texts need quotes"},
      {"ChangeSpeed({SPEED=1.2.3})", "byte 20: '1.2.3' is not a number"},
      {"ChangeSpeed({SPEED=1e999})", "byte 20: a number is out of range"},
      {"ChangeSpeed({SPEED='1})", "byte 20: a text is not terminated"},
      {"ChangeSpeed({SPEED='\n'})", "byte 20: a text is not terminated"},
      {"ChangeSpeed({SPEED='\\q'})", "byte 21: an unknown escape"},
      {"ChangeSpeed({SPEED='\\256'})", "byte 21: an escape that is not a byte"},
      {"ChangeSpeed({SPEED='\\x4'})", "byte 21: an escape that is not a byte"},
      {"ChangeSpeed({SPEED='a\\255'})", "byte 20: a text is not UTF-8"},
      {"ChangeSpeed({SPEED={1, nil, 2}})", "byte 29: nil inside a list"},
      {"ChangeSpeed({SPEED={1, A=2}})", "byte 24: a table with both named and unnamed entries"},
      {"ChangeSpeed({1})", "byte 13: arguments need names, KEY=value"},
      {"ChangeSpeed({[1]=2})", "byte 15: a key in brackets is a text"},
      {"ChangeSpeed({A={{{{{{{{1}}}}}}}}})", "byte 23: tables more than 8 deep"},
      {many, "byte 20017: more than 10000 values"},
      {std::string(65'537, ' '), "longer than 65536 bytes"},
      {std::string("\x1bGo\0({})", 8), "byte 1: a command must start with its name"},
      {"Dance({})", "there is no command 'Dance'"},
  };
  for (const auto& [text, reason] : cases) EXPECT_EQ(refused(text).reason, reason) << text.substr(0, 100);
}

TEST_F(Commands, a_refusal_quotes_the_beginning_of_an_order) {
  const std::string name(60'000, 'x');
  const CommandFault long_name = refused("AddPatrolMission({SIDE='红方', NAME='" + name + "', ZONE={{LON=1, LAT=1}}})");
  EXPECT_EQ(long_name.text, "AddPatrolMission({SIDE='红方', NAME='" + name.substr(0, 161) + "…");
  EXPECT_EQ(long_name.reason, "NAME is longer than 200 bytes");
  EXPECT_EQ(long_name.side, "红方");
  EXPECT_EQ(refused("AssignUnit({SIDE='红方', MISSION='" + name + "'})").reason,
            "there is no mission '" + name.substr(0, 60) + "…'");
  // 198 bytes before the first character: it does not fit as a whole.
  EXPECT_EQ(refused(std::string(198, 'x') + "红红").text, std::string(198, 'x') + "…");
  EXPECT_EQ(refused("x\n\xff\x1b").text, "x???");
}

TEST_F(Commands, a_side_s_orders_missions_and_places_are_bounded) {
  std::vector<std::string> package(10'003, "ChangeSpeed({SIDE='红方', SPEED=1})");
  package.emplace_back("Dance({SIDE='蓝方'})");
  auto faults = simulation_.execute(package);
  EXPECT_EQ(faults.size(), 10'002U) << "ChangeSpeed knows no SIDE";
  EXPECT_EQ(faults[10'000].number, 10'001);
  EXPECT_EQ(faults[10'000].reason, "more than 10000 orders of a side in one package: this and 2 more have no effect");
  EXPECT_EQ(faults[10'001].reason, "there is no command 'Dance'");

  std::string places, targets;
  for (int i = 0; i < 200; ++i) places += "{LON=1,LAT=1},";
  for (int i = 0; i < 201; ++i) targets += "'x',";
  const auto patrol = [](const std::string& side, int i, const std::string& zone) {
    return "AddPatrolMission({SIDE='" + side + "', NAME='" + std::to_string(i) + "', ZONE={" + zone + "}})";
  };
  EXPECT_EQ(run(patrol("红方", 0, places + "{LON=1,LAT=1}")), "ZONE has more than 200 places");
  EXPECT_EQ(run("AddStrikeMission({SIDE='红方', NAME='s', TARGETS={" + targets + "}})"),
            "TARGETS has more than 200 texts");
  package.clear();
  for (int i = 0; i < 101; ++i) package.push_back(patrol("红方", i, places));
  for (int i = 0; i < 1'001; ++i) package.push_back(patrol("蓝方", i, "{LON=1,LAT=1}"));
  faults = simulation_.execute(package);
  ASSERT_GE(faults.size(), 2U);
  EXPECT_THAT(faults.front().reason,
              ::testing::MatchesRegex("the side's zones would have 2.... places, at most 20000"));
  EXPECT_EQ(faults.back().reason, "the side already has 1000 missions, the maximum");
}

TEST_F(Commands, what_cannot_be_done_is_told_with_its_argument) {
  const std::pair<std::string, const char*> cases[] = {
      {"SetSpeed({SIDE='红方',UNIT='<blue-frigate-1>',SPEED=5})",
       "'<blue-frigate-1>' is no living unit of side '红方'"},
      {"SetSpeed({SIDE='绿方',UNIT='<red-frigate-1>',SPEED=5})", "there is no side '绿方'"},
      {"SetSpeed({SIDE='红方',UNIT='<red-base>',SPEED=5})", "unit '<red-base>' cannot move"},
      {"ReturnToBase({SIDE='红方',UNIT='<red-frigate-1>'})", "unit '<red-frigate-1>' has no base"},
      {"SetSpeed({$,SPEED='fast'})", "SPEED must be a number"},
      {"SetRadar({$,ON=1})", "ON must be true or false"},
      {"SetSpeed({$,SPEED=1,SPED=2})", "unknown argument SPED"},
      {"PlotCourse({$,COURSE={}})", "COURSE must be a non-empty list"},
      {"PlotCourse({$,COURSE={{LON=1,LAT=95}}})", "LAT must be in -89 to 89, is 95"},
      {"SetWeaponControl({$,CONTROL='loose'})", "CONTROL must be free, tight or hold, is 'loose'"},
      {"Attack({$,CONTACT='contact#99'})", "side holds no contact 'contact#99'"},
      {"AssignUnit({$,MISSION='none'})", "there is no mission 'none'"},
      {"AddPatrolMission({SIDE='红方',NAME='Air patrol',ZONE={{LON=1,LAT=1}}})", "mission 'Air patrol' already exists"},
  };
  for (auto [command, reason] : cases) {
    const std::size_t unit = command.find('$');
    if (unit != std::string::npos) command.replace(unit, 1, "SIDE='红方',UNIT='<red-fighter-1>'");
    EXPECT_EQ(run(command), with_ids(simulation_, reason)) << command;
  }
}

TEST_F(Commands, speed_and_height_keep_to_what_the_platform_can) {
  EXPECT_EQ(run("SetSpeed({SIDE='红方',UNIT='<red-fighter-1>',SPEED=0})"), "");
  EXPECT_DOUBLE_EQ(*unit_of(simulation_, "red-fighter-1").ordered_speed, 125);
  EXPECT_EQ(run("SetAltitude({SIDE='红方',UNIT='<red-fighter-1>',ALTITUDE=-50})"), "");
  EXPECT_DOUBLE_EQ(unit_of(simulation_, "red-fighter-1").wanted_height, 100);
  EXPECT_EQ(run("SetSpeed({SIDE='红方',UNIT='<red-frigate-1>',SPEED=99})"), "");
  EXPECT_DOUBLE_EQ(*unit_of(simulation_, "red-frigate-1").ordered_speed, 15);
}

TEST_F(Commands, missions_are_made_flown_and_taken_away) {
  EXPECT_EQ(run("AddPatrolMission({SIDE='红方',NAME='West \\'7\\'',ZONE={{LON=149,LAT=20},{LON=149,LAT=21}}})"), "");
  EXPECT_EQ(run("AssignUnit({SIDE='红方',UNIT='<red-fighter-2>',MISSION='West \\'7\\''})"), "");
  simulation_.set_advance_seconds(200);
  simulation_.advance();
  const Unit& fighter = unit_of(simulation_, "red-fighter-2");
  EXPECT_FALSE(fighter.at_base);
  EXPECT_EQ(fighter.mission, "side-1-mission#1");
  EXPECT_LT(fighter.motion.place.lon, 149.5) << "it flies west";
  EXPECT_EQ(run("DeleteMission({SIDE='红方',NAME='West \\'7\\''})"), "");
  EXPECT_TRUE(fighter.mission.empty() && fighter.course.empty());
  EXPECT_EQ(run("ReturnToBase({SIDE='红方',UNIT='<red-fighter-2>'})"), "");
  simulation_.advance();
  EXPECT_TRUE(fighter.at_base);
}

/// A strike aircraft and a base it knows, out of its weapon's reach at first.
Simulation raid(const std::string& control) {
  Dict json = scenario_json({unit_json("bomber", "Strike aircraft", 20, 150, {{"control", control}})},
                            {unit_json("base", "Air base", 21, 150)}, 2000);
  json.find_list("sides")->at(0).as_dict().set("known", List{"base"});
  return play(json, 600);
}

TEST(Orders, an_attack_is_carried_out_to_the_ordered_quantity) {
  Simulation simulation = raid("tight");
  order(simulation, "Attack({SIDE='红方',UNIT='<bomber>',CONTACT='red-contact#1',WEAPON='Stand-off bomb',QUANTITY=3})");
  simulation.advance();
  EXPECT_EQ(simulation.world().shots_fired, 3);
  EXPECT_TRUE(unit_of(simulation, "bomber").attacks.empty());
  const std::string torpedo = "Attack({SIDE='红方',UNIT='<bomber>',CONTACT='red-contact#1',WEAPON='Heavy torpedo'})";
  EXPECT_EQ(simulation.execute({with_ids(simulation, torpedo)}).at(0).reason,
            "UNIT has no 'Heavy torpedo' for this contact");
}

TEST(Orders, weapons_on_hold_stay_where_they_are) {
  Simulation simulation = raid("hold");
  order(simulation, "Attack({SIDE='红方',UNIT='<bomber>',CONTACT='red-contact#1'})");
  simulation.advance();
  EXPECT_EQ(simulation.world().shots_fired, 0);
  order(simulation, "SetWeaponControl({SIDE='红方',UNIT='<bomber>',CONTROL='tight'})");
  simulation.advance();
  EXPECT_EQ(simulation.world().shots_fired, 2);
}

TEST(Orders, tight_units_fire_only_at_who_fired_at_them) {
  const Dict radar{{"radar", true}};
  Dict json = scenario_json({unit_json("red-ship", "Frigate", 20, 150, radar)},
                            {unit_json("blue-ship", "Frigate", 20, 150.3, radar)}, 2000);
  Simulation peace = play(json, 2000);
  peace.advance();
  EXPECT_FALSE(peace.world().sides[0].contacts.empty());
  EXPECT_EQ(peace.world().shots_fired, 0);
  Simulation war = play(json, 300);
  free_weapons(war, 0);
  war.advance();
  EXPECT_GT(war.world().sides[0].weapons_fired, 0);
  EXPECT_GT(war.world().sides[1].weapons_fired, 0);
}

TEST(Orders, a_group_s_order_is_its_members_and_a_friend_s_contact_can_be_attacked) {
  Simulation simulation = play_shipped("strait", 300, 1);
  order(simulation, "SetSpeed({SIDE='红方',UNIT='<Red surface group>',SPEED=3})");
  for (const char* id : {"red-destroyer-1", "red-frigate-1", "red-frigate-2"}) {
    EXPECT_EQ(unit_of(simulation, id).ordered_speed, 3) << id;
  }
  simulation.advance();
  const auto& green = simulation.world().sides[2].contacts;
  ASSERT_FALSE(green.empty());
  for (const auto& [key, contact] : green) {
    EXPECT_EQ(find_contact(simulation.world(), 0, contact.id), &contact);
    EXPECT_EQ(find_contact(simulation.world(), 1, contact.id), nullptr) << "blue is no friend of green";
  }
}

}  // namespace
}  // namespace tessra::sim
