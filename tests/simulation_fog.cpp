// What a side cannot see changes nothing in its records, byte for byte: whole episodes are played twice, once as they
// are and once with something changed out of the side's sight.

#include <algorithm>
#include <functional>
#include <map>
#include <random>

#include "simulation_fixture.h"

namespace tessra::sim {
namespace {

using Orders = std::function<void(Simulation&, int advance)>;

const Orders kNoOrders = [](Simulation&, int) {};

/// Each side's part of all records of an episode, or of its beginning.
using Seen = std::map<std::string, std::string>;

Seen seen_by_all(const Dict& scenario, std::uint64_t seed, int advances, const Orders& orders = kNoOrders) {
  Simulation simulation = play(scenario, 60, seed);
  Seen seen;
  const auto note = [&](const Dict& record) {
    const Dict* situation = record.find_dict("Situation");
    const Dict* sides = situation != nullptr ? situation->find_dict("SituationSides") : nullptr;
    for (const SideState& side : simulation.world().sides) {
      const std::string& id = side.setup->id;
      seen[id] += (sides != nullptr && sides->contains(id) ? write_json(sides->at(id)) : "") + "\n";
    }
  };
  note(simulation.initial_situation());
  for (int advance = 0; advance < advances && !simulation.ended(); ++advance) {
    orders(simulation, advance);
    simulation.advance();
    note(simulation.step_situation());
  }
  return seen;
}

std::string seen_by(const std::string& side, const Dict& scenario, std::uint64_t seed, int advances,
                    const Orders& orders = kNoOrders) {
  return seen_by_all(scenario, seed, advances, orders).at(side);
}

Dict side_of(const Dict& scenario, const std::string& id) {
  for (const Value& side : scenario.at_list("sides")) {
    if (side.as_dict().at_text("id") == id) return side.as_dict();
  }
  throw KeyError("no side " + id);
}

List& units_of(const Dict& scenario, const std::string& side) { return *side_of(scenario, side).find_list("units"); }

void reverse_units(const Dict& scenario, const std::string& side) {
  List& units = units_of(scenario, side);
  List reversed;
  for (std::size_t i = units.size(); i > 0; --i) reversed.push_back(units.at(i - 1));
  side_of(scenario, side).set("units", reversed);
}

Dict free_unit(const std::string& id, const std::string& platform, double lat, double lon) {
  return unit_json(id, platform, lat, lon, {{"radar", true}, {"control", "free"}});
}

/// Red and blue fight at 150° east; blue and green fight 3,000 km away, out of red's sight. Red knows one of the bases
/// there from the start, and has no sonar.
Dict two_wars(std::uint64_t seed) {
  std::mt19937_64 random(seed);
  const auto near = [&](double middle) { return middle + static_cast<double>(random() % 1000) / 1000 - 0.5; };
  const char* const platforms[] = {"Fighter", "Missile boat", "Fighter", "Radar station", "Fighter", "Missile boat"};
  List red;
  List blue;
  List green;
  for (int i = 0; i < 6; ++i) {
    const std::string number = std::to_string(i);
    red.push_back(free_unit("red-" + number, platforms[i], near(20), near(150)));
    blue.push_back(free_unit("blue-" + number, platforms[i], near(20), near(150.3)));
    blue.push_back(free_unit("far-" + number, platforms[i], near(20), near(180 - 0.6)));
    green.push_back(free_unit("green-" + number, platforms[(i + 2) % 6], near(20), near(180 - 0.8)));
  }
  blue.push_back(unit_json("far-base", "Radar station", 20, 179.3));
  blue.push_back(unit_json("far-guest", "Strike aircraft", 20, 179.3, {{"base", "far-base"}, {"at_base", true}}));
  // A side that is beaten ends the episode for all: these are never lost.
  blue.push_back(unit_json("far-keeper", "Coastal missile battery", -60, 0));
  green.push_back(unit_json("green-keeper", "Coastal missile battery", -60, 20));
  for (const char* id : {"striker-1", "striker-2"}) green.push_back(free_unit(id, "Strike aircraft", 20, 179));
  Dict scenario = scenario_json(red, blue, 3600);
  side_of(scenario, "red").set("known", List{"far-base"});
  side_of(scenario, "blue").at_dict("postures").set("green", 3);
  scenario.find_list("sides")->push_back(
      Dict{{"id", "green"}, {"name", "绿方"}, {"postures", Dict{{"blue", 3}}}, {"units", green}});
  return scenario;
}

struct Change {
  const char* what;
  std::function<void(const Dict& scenario)> change = [](const Dict&) {};
  Orders orders = kNoOrders;
};

void drop_units(const Dict& scenario, const std::string& side, const std::string& prefix) {
  List kept;
  for (const Value& unit : units_of(scenario, side)) {
    if (!unit.as_dict().at_text("id").starts_with(prefix)) kept.push_back(unit);
  }
  side_of(scenario, side).set("units", kept);
}

void order_far_units(Simulation& simulation, int advance) {
  if (advance % 5 != 1) return;
  const std::string name = "M" + std::to_string(advance);
  order(simulation, "AddPatrolMission({SIDE='蓝方',NAME='" + name + "',ZONE={{LON=179,LAT=21},{LON=179,LAT=22}}})");
  for (const Unit& unit : simulation.world().units) {
    const bool moves = unit.platform->kind != UnitKind::facility;
    if (!unit.alive || !moves || unit.side != 1 || !unit.file_id.starts_with("far-")) continue;
    order(simulation, "AssignUnit({SIDE='蓝方',UNIT='" + unit.id + "',MISSION='" + name + "'})");
  }
}

const Change kFarChanges[] = {
    {"a fight that is not fought", [](const Dict& s) { side_of(s, "green").set("units", List()); }},
    {"a fight that is won sooner",
     [](const Dict& s) {
       for (int i = 0; i < 8; ++i)
         units_of(s, "green").push_back(free_unit("more-" + std::to_string(i), "Fighter", 20, 179.1));
     }},
    {"names and places",
     [](const Dict& s) {
       for (const Value& unit : units_of(s, "blue")) {
         const std::string id(unit.as_dict().at_text("id"));
         if (!id.starts_with("far-") || id == "far-base") continue;
         Dict changed = unit.as_dict();
         changed.set("name", "Other");
         if (changed.at_text("platform") == "Fighter") changed.set("lat", 22.0);
       }
     }},
    {"weapons on hold",
     [](const Dict& s) {
       for (const Value& unit : units_of(s, "green")) Dict(unit.as_dict()).set("control", "hold");
     }},
    {"the order of the others' units",
     [](const Dict& s) {
       reverse_units(s, "blue");
       reverse_units(s, "green");
     }},
    {"the order of sides",
     [](const Dict& s) {
       const List sides = s.at_list("sides");
       Dict(s).set("sides", List{sides.at(2), sides.at(1), sides.at(0)});
     }},
    {"a submarine that nobody can hear",
     [](const Dict& s) {
       units_of(s, "green").push_back(unit_json("deep", "Submarine", 20, 150, {{"height", -100}, {"control", "hold"}}));
     }},
    {"aircraft inside a base", [](const Dict& s) { drop_units(s, "blue", "far-guest"); }},
    {"a side more",
     [](const Dict& s) {
       const Dict other{{"id", "other"}, {"name", "黄方"}, {"units", List{free_unit("o", "Fighter", -20, 10)}}};
       List sides{other};
       sides.extend(s.at_list("sides"));
       Dict(s).set("sides", sides);
     }},
    {"orders", [](const Dict&) {}, order_far_units},
};

TEST(Fog, what_happens_out_of_sight_changes_nothing) {
  constexpr int kAdvances = 20;
  int shots = 0;
  for (std::uint64_t seed = 1; seed <= 20; ++seed) {
    const std::string as_it_is = seen_by("red", two_wars(seed), seed, kAdvances);
    shots += as_it_is.find("red-weapon#1") != std::string::npos ? 1 : 0;
    for (const Change& change : kFarChanges) {
      const Dict scenario = two_wars(seed);
      change.change(scenario);
      EXPECT_TRUE(seen_by("red", scenario, seed, kAdvances, change.orders) == as_it_is) << change.what << ", " << seed;
    }
  }
  EXPECT_GT(shots, 15) << "red sees and fights in most of them";
}

TEST(Fog, the_far_war_is_fought) {
  // What the test above is worth: far away things are lost, and what red can see does change its records.
  Simulation simulation = play(two_wars(1), 1800, 1);
  simulation.advance();
  EXPECT_FALSE(unit_of(simulation, "far-base").alive);
  EXPECT_FALSE(unit_of(simulation, "far-guest").alive);
  EXPECT_GT(simulation.world().sides[2].score, 0);
  const Dict moved = two_wars(1);
  Dict(units_of(moved, "blue").at(0).as_dict()).set("lat", 20.05);
  EXPECT_NE(seen_by("red", moved, 1, 30), seen_by("red", two_wars(1), 1, 30));
}

TEST(Fog, a_shot_from_out_of_sight_changes_nothing_before_it_arrives) {
  const auto scenario = [](bool with_submarine) {
    List blue{free_unit("boat", "Missile boat", 20, 150.24), unit_json("keeper", "Coastal missile battery", -60, 0)};
    if (with_submarine) blue.push_back(free_unit("deep", "Submarine", 20, 149.77));
    return scenario_json({unit_json("ship", "Destroyer", 20, 150, {{"radar", true}})}, blue, 2000);
  };
  Simulation simulation = play(scenario(true), 300);
  simulation.advance();
  EXPECT_GT(unit_of(simulation, "deep").shots_fired, 0) << "a torpedo is on its way for a quarter of an hour";
  EXPECT_GT(unit_of(simulation, "ship").shots_fired, 0) << "the ship fires back at the boat that it sees";
  EXPECT_EQ(seen_by("red", scenario(true), 1, 8), seen_by("red", scenario(false), 1, 8));
}

TEST(Fog, a_loss_is_known_to_who_could_see_it_and_to_who_did_it) {
  // Red's boat is shot by blue's ship; green holds a contact on it from the start and is too far away to see.
  Dict json = scenario_json({unit_json("boat", "Missile boat", 20, 150), unit_json("port", "Port", 20.01, 150)},
                            {free_unit("ship", "Destroyer", 20, 150.2)}, 2000);
  json.find_list("sides")->push_back(Dict{{"id", "green"},
                                          {"name", "绿方"},
                                          {"known", List{"boat", "port"}},
                                          {"units", List{free_unit("jet", "Fighter", 25, 150)}}});
  Simulation simulation = play(json, 1);
  while (unit_of(simulation, "boat").alive && !simulation.ended()) simulation.advance();
  ASSERT_FALSE(unit_of(simulation, "boat").alive);
  EXPECT_EQ(simulation.world().sides[1].contacts.count(unit_of(simulation, "boat").key), 0U);
  EXPECT_LT(simulation.world().now, 300) << "else green's contact would be too old";
  EXPECT_EQ(simulation.world().sides[2].contacts.count(unit_of(simulation, "boat").key), 1U);
}

TEST(Fog, contacts_become_better_in_view) {
  const auto contact_after = [](int seconds, std::uint64_t seed) {
    Simulation simulation = play(scenario_json({unit_json("ship", "Destroyer", 20, 150, {{"radar", true}})},
                                               {unit_json("jet", "Warning aircraft", 20, 151)}),
                                 seconds, seed);
    simulation.advance();
    const Contact& contact = simulation.world().sides[0].contacts.begin()->second;
    const Motion& truth = unit_of(simulation, "jet").motion;
    return std::pair(contact.error, distance_between(contact.seen.place, truth.place));
  };
  double early = 0, late = 0;
  for (std::uint64_t seed = 1; seed <= 40; ++seed) {
    const auto first = contact_after(40, seed), last = contact_after(400, seed);
    EXPECT_LT(last.first, first.first);
    EXPECT_LT(last.second, 4.5 * last.first) << "three deviations in each of two directions";
    early += first.second;
    late += last.second;
  }
  EXPECT_LT(late, 0.7 * early);
  EXPECT_GT(late / 40, 100) << "metres; it never becomes exact";
}

}  // namespace
}  // namespace tessra::sim
