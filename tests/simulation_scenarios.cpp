#include <gmock/gmock.h>

#include <fstream>

#include "simulation_fixture.h"

namespace tessra::sim {
namespace {

std::string mistake_in(const Dict& json) {
  try {
    load_scenario(json);
  } catch (const ScenarioError& error) {
    return error.what();
  }
  return "";
}

Dict& unit_at(Dict& json, std::size_t side, std::size_t unit) {
  Dict& side_json = json.find_list("sides")->at(side).as_dict();
  return side_json.find_list("units")->at(unit).as_dict();
}

class ScenarioMistake : public ::testing::Test {
 protected:
  Dict json_ = scenario_json({unit_json("red-1", "Fighter", 20, 150), unit_json("red-2", "Air base", 20, 150)},
                             {unit_json("blue-1", "Frigate", 20, 151)});
  Dict& side(std::size_t index) { return json_.find_list("sides")->at(index).as_dict(); }
};

TEST_F(ScenarioMistake, is_told_with_its_place) {
  const Dict strike{{"id", "m"}, {"name", "M"}, {"kind", "strike"}, {"targets", List{"blue-1"}}};
  const auto agents_of = [](const Value& side, const char* key) {
    return Dict{{side, Dict{{"x", Dict{{key, "idle"}}}}}};
  };
  Dict base = unit_at(json_, 0, 1), jet = unit_at(json_, 0, 0), ship = unit_at(json_, 1, 0);
  const struct {
    Dict where;
    const char* key;
    Value value;
    const char* says;
  } cases[] = {
      {base, "lat", 95, "sides[0].units[1].lat: 95 is not in -89 to 89"},
      {base, "lat", "north", "sides[0].units[1].lat: must be a number, is string"},
      {base, "latt", 20, "sides[0].units[1].latt: unknown field"},
      {ship, "platform", "Galleon", "sides[1].units[0].platform: there is no platform 'Galleon'"},
      {jet, "base", "blue-1", "sides[0].units[0].base: is not a unit of this side"},
      {jet, "base", "red-1", "sides[0].units[0].base: cannot be a base"},
      {ship, "id", "red-1", "sides[1].units[0].id: is used twice"},
      {ship, "id", "weapon#1", "sides[1].units[0].id: '#' is reserved for ids made in an episode"},
      {side(1), "postures", Dict{{"green", 1}}, "sides[1].postures.green: is not another side"},
      {json_, "agents", agents_of("green", "class"), "agents.green: the scenario has no such side"},
      {json_, "agents", agents_of("红方", "clas"), "agents.红方.x.class: is missing"},
      {side(0), "missions", List{strike}, "sides[0].missions[0].targets[0]: is not among the side's known units"},
  };
  for (auto [where, key, value, says] : cases) {
    const Value* found = where.find(key);
    const Value before = found != nullptr ? *found : Value();
    where.set(key, value);
    EXPECT_EQ(mistake_in(json_), std::string("broken.json: ") + says);
    before.is_none() ? static_cast<void>(where.erase(key)) : static_cast<void>(where.set(key, before));
  }
  side(0).set("missions", List{strike});
  side(0).set("known", List{"blue-1"});
  EXPECT_EQ(mistake_in(json_), "");
  base.erase("lat");
  EXPECT_EQ(mistake_in(json_), "broken.json: sides[0].units[1].lat: is missing");
}

TEST_F(ScenarioMistake, a_platform_file_reports_itself) {
  const tessra::testing::ScratchFolder folder;
  const auto file = folder.path() / "bad.json";
  json_.set("platforms", List{file.string()});
  std::ofstream(file) << R"({"platforms": {"Raft": {"kind": "raft"}}})";
  EXPECT_EQ(mistake_in(json_), "bad.json: platforms.Raft.kind: 'raft' is not a known value");
  std::ofstream(file) << R"({"platforms": {}, "sensors": {}, "platforms": {}})";
  EXPECT_THAT(mistake_in(json_), ::testing::EndsWith("bad.json: duplicate key 'platforms' at line 1, column 34"));
  EXPECT_THROW(Simulation::load(folder.path() / "absent.json"), ScenarioError);
}

TEST(Scenarios, friends_are_the_sides_that_are_friendly_toward_a_side) {
  const Dict sides = play_shipped("strait", 30).sides_info();
  EXPECT_EQ(sides.at_dict("side-1"), (Dict{{"Name", "红方"}, {"Friend", List{"side-3"}}}));
  EXPECT_EQ(sides.at_dict("side-2").at_list("Friend"), List{"side-4"});
  EXPECT_EQ(sides.at_dict("side-3").at_list("Friend"), List{"side-1"});
  const Dict skirmish = play_shipped("skirmish", 30).sides_info();
  EXPECT_TRUE(skirmish.at_dict("side-1").at_list("Friend").empty());
}

}  // namespace
}  // namespace tessra::sim
