#include "simulation/combat.h"
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
    EXPECT_EQ(faults.front().text, command);
    return faults.front().reason;
  }

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

TEST_F(Commands, texts_reach_nothing_outside_their_chunk) {
  for (const char* text : {"os.execute('true')", "io.open('/etc/hostname')", "require('os')", "load('x=1')()",
                           "print(1)", "string.rep('x', 10)", "('x'):rep(10)", "setmetatable({}, {})", "error('x')",
                           "coroutine.wrap(function() end)()"}) {
    EXPECT_NE(run(text), "") << text;
  }
  EXPECT_EQ(run("leak = 1 ChangeSpeed({SPEED='1'})"), "");
  EXPECT_EQ(run("ChangeSpeed({SPEED=leak})"), "SPEED is missing");
  EXPECT_EQ(run("ChangeSpeed = SetSpeed"), "must call one command once, calls 0");
  EXPECT_EQ(run("ChangeSpeed({SPEED='1'})"), "");
}

TEST_F(Commands, endless_huge_and_compiled_chunks_are_stopped) {
  EXPECT_EQ(run("while true do end"), "too many instructions");
  EXPECT_NE(run("local function f() return f() end f()"), "");
  EXPECT_EQ(run("local x = 'xxxxxxxx' while true do x = x .. x end"), "not enough memory");
  EXPECT_NE(run("local t = {} for i = 1, 1e9 do t[i] = {i} end"), "");
  EXPECT_NE(run("local t = {} t[1] = t ChangeSpeed({SPEED=t})").find("tables too deep"), std::string::npos);
  EXPECT_NE(run("local a = {1,1,1,1,1,1,1,1,1,1} local b = {a,a,a,a,a,a,a,a,a,a} local c = {b,b,b,b,b,b,b,b,b,b} "
                "ChangeSpeed({SPEED={c,c,c,c,c,c,c,c,c,c,c,c}})")
                .find("too many values"),
            std::string::npos);
  EXPECT_NE(run(std::string("\x1bLua\x54\x00\x19\x93", 8)), "");
  EXPECT_NE(run(std::string(100'000, ' ')), "");
  EXPECT_NE(run("ChangeSpeed({SPEED='\\xff'})").find("UTF-8"), std::string::npos);
}

TEST_F(Commands, a_unit_obeys_its_own_side_alone) {
  EXPECT_EQ(run("SetSpeed({SIDE='红方',UNIT='<blue-frigate-1>',SPEED=5})"),
            with_ids(simulation_, "'<blue-frigate-1>' is no living unit of side '红方'"));
  EXPECT_EQ(run("SetSpeed({SIDE='绿方',UNIT='<red-frigate-1>',SPEED=5})"), "there is no side '绿方'");
  EXPECT_EQ(run("SetSpeed({SIDE='红方',UNIT='<red-base>',SPEED=5})"),
            with_ids(simulation_, "unit '<red-base>' cannot move"));
  EXPECT_EQ(run("ReturnToBase({SIDE='红方',UNIT='<red-frigate-1>'})"),
            with_ids(simulation_, "unit '<red-frigate-1>' has no base"));
}

TEST_F(Commands, bad_arguments_are_named) {
  const std::string unit = "SIDE='红方',UNIT='<red-fighter-1>'";
  EXPECT_EQ(run("SetSpeed({" + unit + ",SPEED='fast'})"), "SPEED must be a number");
  EXPECT_NE(run("SetSpeed({" + unit + ",SPEED=0/0})"), "");
  EXPECT_NE(run("SetAltitude({" + unit + ",ALTITUDE=1e999})"), "");
  EXPECT_EQ(run("SetRadar({" + unit + ",ON=1})"), "ON must be true or false");
  EXPECT_EQ(run("SetSpeed({" + unit + ",SPEED=1,SPED=2})"), "unknown argument SPED");
  EXPECT_EQ(run("PlotCourse({" + unit + ",COURSE={}})"), "COURSE must list something");
  EXPECT_EQ(run("PlotCourse({" + unit + ",COURSE={{LON=1,LAT=95}}})"), "LAT must be in -89 to 89, is 95");
  EXPECT_EQ(run("SetWeaponControl({" + unit + ",CONTROL='loose'})"), "CONTROL must be free, tight or hold, is 'loose'");
  EXPECT_EQ(run("Attack({" + unit + ",CONTACT='contact#99'})"), "side holds no contact 'contact#99'");
  EXPECT_EQ(run("AssignUnit({" + unit + ",MISSION='none'})"), "there is no mission 'none'");
  EXPECT_EQ(run("AddPatrolMission({SIDE='红方',NAME='Air patrol',ZONE={{LON=1,LAT=1}}})"),
            "there is a mission 'Air patrol' already");
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
  const CommandFault wrong =
      simulation
          .execute({with_ids(simulation,
                             "Attack({SIDE='红方',UNIT='<bomber>',CONTACT='red-contact#1',WEAPON='Heavy torpedo'})")})
          .at(0);
  EXPECT_EQ(wrong.reason, "UNIT has no 'Heavy torpedo' for this contact");
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
