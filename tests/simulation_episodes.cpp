#include "simulation_fixture.h"

namespace tessra::sim {
namespace {

TEST(Episodes, the_decision_interval_does_not_change_what_happens) {
  Simulation coarse = play_shipped("strait", 900, 8);
  Simulation fine = play_shipped("strait", 7, 8);
  coarse.advance();
  while (fine.world().now < 896) fine.advance();
  fine.set_advance_seconds(4);
  fine.advance();
  EXPECT_GT(coarse.world().shots_fired, 0);
  EXPECT_EQ(write_json(coarse.initial_situation()), write_json(fine.initial_situation()));
}

TEST(Episodes, seeds_of_neighbouring_episodes_differ_and_stay_the_same) {
  EXPECT_EQ(episode_seed(1, 1), episode_seed(1, 1));
  EXPECT_NE(episode_seed(1, 1), episode_seed(1, 2));
  EXPECT_NE(episode_seed(1, 2), episode_seed(2, 1));
  EXPECT_EQ(episode_seed(0, 0), 0xe220a8397b1dcdafU);  // first number of the generator the hash is taken from
}

TEST(Episodes, end_with_their_time) {
  Simulation simulation = play_shipped("skirmish", 250, 1);
  simulation.initial_situation();
  for (const bool end : {false, false, true, true}) {
    simulation.advance();
    EXPECT_EQ(simulation.step_situation().at("IsEnd"), Value(end));
  }
  EXPECT_EQ(simulation.world().now, 600);
}

TEST(Episodes, end_when_a_side_has_lost_its_armed_units) {
  Simulation simulation =
      play(scenario_json({unit_json("hunter", "Fighter", 20, 150, {{"radar", true}})},
                         {unit_json("boat", "Missile boat", 21, 150), unit_json("port", "Port", 22, 150),
                          unit_json("ace", "Fighter", 20, 150.3)},
                         100'000),
           10);
  free_weapons(simulation, 0);
  while (!simulation.ended() && unit_of(simulation, "ace").alive) simulation.advance();
  EXPECT_FALSE(simulation.ended()) << "the boat is armed";
  simulation.set_advance_seconds(100'000);
  simulation.advance();
  EXPECT_LT(simulation.world().now, 10'000) << "red's only fighter fell without fuel";
  EXPECT_TRUE(simulation.ended());
}

TEST(Episodes, losses_cost_a_unit_s_value_and_go_to_who_did_it) {
  Simulation simulation = play_shipped("strait", 600, 2);
  while (!simulation.ended()) simulation.advance();
  const World& world = simulation.world();
  double lost[2] = {0, 0};
  for (const Unit& unit : world.units) {
    if (unit.side > 1 || unit.at_base) continue;
    lost[unit.side] += (unit.alive ? 0.5 * unit.damage / unit.platform->damage_points : 1) * unit.platform->value;
  }
  ASSERT_FALSE(world.destroyed.empty());
  // In this episode nothing was lost but by the other's weapons.
  EXPECT_NEAR(world.sides[0].score, lost[1] - lost[0], 1e-6);
  EXPECT_NEAR(world.sides[1].score, lost[0] - lost[1], 1e-6);
}

TEST(Episodes, aircraft_at_a_lost_base_are_lost_with_it) {
  List bombers;
  for (const char* id : {"1", "2", "3", "4", "5", "6", "7", "8"}) {
    bombers.push_back(unit_json(id, "Strike aircraft", 20.3, 150, {{"radar", true}, {"control", "free"}}));
  }
  Simulation simulation =
      play(scenario_json(bombers,
                         {unit_json("base", "Air base", 20, 150),
                          unit_json("jet", "Fighter", 20, 150, {{"base", "base"}, {"at_base", true}})},
                         1000),
           1000);
  simulation.advance();
  EXPECT_EQ(simulation.world().destroyed,
            (std::vector<std::string>{unit_of(simulation, "base").id, unit_of(simulation, "jet").id}));
  EXPECT_DOUBLE_EQ(simulation.world().sides[1].score, -70);
  EXPECT_DOUBLE_EQ(simulation.world().sides[0].score, 60) << "what stood on the base, nobody saw";
}

}  // namespace
}  // namespace tessra::sim
