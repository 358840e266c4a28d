#include "simulation/movement.h"
#include "simulation/sensing.h"
#include "simulation_fixture.h"

namespace tessra::sim {
namespace {

// One degree of latitude near 20° is 110.7 km.

TEST(Geodesy, agrees_with_published_values) {
  // A quarter of the meridian, and one degree of the equator, of WGS 84.
  EXPECT_NEAR(distance_between({0, 0}, {90, 0}), 10'001'965.729, 0.01);
  EXPECT_NEAR(distance_between({0, 0}, {0, 1}), 111'319.491, 0.01);
  EXPECT_NEAR(way_between({0, 10}, {0, 5}).bearing, 270, 1e-9);
}

TEST(Geodesy, a_leg_is_walked_to_its_end_and_not_beyond) {
  Leg leg({20, 150}, {20.1, 150});
  EXPECT_DOUBLE_EQ(leg.walk(1000), 0);
  EXPECT_NEAR(distance_between({20, 150}, leg.place()), 1000, 1e-6);
  EXPECT_GT(leg.walk(20'000), 0);
  EXPECT_TRUE(leg.finished());
  EXPECT_NEAR(leg.place().lat, 20.1, 1e-9);
}

TEST(Geodesy, the_cheap_bound_never_rules_out_what_is_in_range) {
  for (int bearing = 0; bearing < 360; bearing += 15) {
    for (const double lat : {-80.0, -20.0, 0.0, 45.0, 85.0}) {
      const Place from{lat, 179.5};
      const Place to = place_beyond(from, bearing, 250'000);
      EXPECT_TRUE(may_be_within(sphere_point(from), sphere_point(to), 250'000.001));
      EXPECT_FALSE(may_be_within(sphere_point(from), sphere_point(to), 240'000));
    }
  }
}

/// A radar ship of red and a target of blue, so many kilometres apart.
Simulation ship_and(const std::string& platform, double kilometres, double height, bool radar = true) {
  const Place target = place_beyond({20, 150}, 90, kilometres * 1000);
  return play(scenario_json({unit_json("ship", "Destroyer", 20, 150, {{"radar", radar}})},
                            {unit_json("target", platform, target.lat, target.lon, {{"height", height}})}),
              300);
}

bool is_seen(Simulation simulation) {
  simulation.advance();
  return !simulation.world().sides[0].contacts.empty();
}

TEST(Sensing, the_horizon_hides_low_targets_from_radar) {
  // The ship's radar stands at 30 m: 4.12 (√30 + √h) km is 32 km to 5 m, 413 km to 9 km, where its range ends first.
  EXPECT_NEAR(horizon_metres(30, 9000), 4120 * (5.4772 + 94.8683), 1);
  EXPECT_TRUE(is_seen(ship_and("Warning aircraft", 200, 9000)));
  EXPECT_FALSE(is_seen(ship_and("Warning aircraft", 200, 100)));
  EXPECT_TRUE(is_seen(ship_and("Frigate", 40, 0)));
  EXPECT_FALSE(is_seen(ship_and("Frigate", 50, 0)));
}

TEST(Sensing, a_radar_must_be_on_and_finds_nothing_under_water) {
  EXPECT_FALSE(is_seen(ship_and("Warning aircraft", 100, 9000, false)));
  EXPECT_TRUE(is_seen(ship_and("Submarine", 8, -60)));    // the sonar's success, signature 0.6
  EXPECT_FALSE(is_seen(ship_and("Submarine", 14, -60)));  // in reach of radar and lookout, were it not submerged
}

TEST(Sensing, contacts_are_identified_by_and_by_age_and_get_lost) {
  Simulation simulation = ship_and("Warning aircraft", 150, 9000);
  simulation.set_advance_seconds(120);
  simulation.advance();
  ASSERT_EQ(simulation.world().sides[0].contacts.size(), 1U);
  EXPECT_EQ(simulation.world().sides[0].contacts.begin()->second.id_status, 4);
  order(simulation, "SetRadar({SIDE='红方',UNIT='<ship>',ON=false})");
  simulation.set_advance_seconds(kContactLost - 60);
  simulation.advance();
  EXPECT_EQ(simulation.world().sides[0].contacts.size(), 1U);
  simulation.set_advance_seconds(61);
  simulation.advance();
  EXPECT_TRUE(simulation.world().sides[0].contacts.empty());
}

TEST(Movement, courses_are_flown_at_cruising_speed_and_burn_fuel) {
  Simulation simulation = play(scenario_json({unit_json("jet", "Fighter", 20, 150)}, {}), 100);
  order(simulation, "PlotCourse({SIDE='红方',UNIT='<jet>',COURSE={{LON=150,LAT=21},{LON=151,LAT=21}}})");
  simulation.advance();
  const Unit& jet = unit_of(simulation, "jet");
  EXPECT_NEAR(distance_between({20, 150}, jet.motion.place), 250 * 100, 1500);
  const double burnt = jet.platform->fuel - jet.fuel;
  EXPECT_NEAR(burnt, 100 * jet.platform->burn, 1e-6);
  order(simulation, "SetSpeed({SIDE='红方',UNIT='<jet>',SPEED=9999})");
  simulation.advance();
  EXPECT_DOUBLE_EQ(jet.motion.speed, jet.platform->max_speed);
  EXPECT_NEAR(jet.platform->fuel - jet.fuel - burnt, burnt * (420.0 / 250) * (420.0 / 250), 1e-6);
}

TEST(Movement, aircraft_come_home_in_time_and_are_made_ready_again) {
  Simulation simulation = play(
      scenario_json({unit_json("base", "Air base", 20, 150), unit_json("jet", "Fighter", 20, 151, {{"base", "base"}})},
                    {}, 20'000),
      20);
  bool landed = false;
  while (!simulation.ended() && !landed) {
    simulation.advance();
    landed = unit_of(simulation, "jet").at_base;
  }
  const Unit& jet = unit_of(simulation, "jet");
  ASSERT_TRUE(landed);
  EXPECT_GT(jet.fuel, 0);
  EXPECT_LT(jet.fuel, 0.15 * jet.platform->fuel);
  order(simulation, "PlotCourse({SIDE='红方',UNIT='<jet>',COURSE={{LON=151,LAT=20}}})");
  simulation.set_advance_seconds(jet.platform->turnaround - 60);
  simulation.advance();
  EXPECT_TRUE(jet.at_base);
  simulation.set_advance_seconds(90);
  simulation.advance();
  EXPECT_FALSE(jet.at_base);
  EXPECT_GT(jet.fuel, 0.95 * jet.platform->fuel);
}

TEST(Movement, an_aircraft_without_a_base_falls_when_its_tank_is_empty) {
  Simulation simulation = play(scenario_json({unit_json("jet", "Fighter", 20, 150)}, {}, 20'000), 20'000);
  simulation.advance();
  EXPECT_FALSE(unit_of(simulation, "jet").alive);
  EXPECT_DOUBLE_EQ(simulation.world().sides[0].score, -10);
  EXPECT_DOUBLE_EQ(simulation.world().sides[1].score, 0) << "nobody did it";
  EXPECT_NEAR(simulation.world().now, 4500 / 0.7, 2) << "the side lost its last armed unit then";
}

}  // namespace
}  // namespace tessra::sim
