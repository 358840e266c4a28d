#pragma once

// Small scenarios, made in a line or two, for the tests of the bundled simulation.

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "Tessra/base/json_read.h"
#include "Tessra/base/json_write.h"
#include "Tessra/base/value.h"
#include "simulation/simulation.h"
#include "simulation/world.h"
#include "support/scratch_folder.h"

namespace tessra::sim {

inline const std::filesystem::path kScenarios = std::filesystem::path(TESSRA_SOURCE_DIR) / "scenarios";

inline Dict unit_json(const std::string& id, const std::string& platform, double lat, double lon, Dict more = {}) {
  Dict unit{{"id", id}, {"name", "Name of " + id}, {"platform", platform}, {"lat", lat}, {"lon", lon}};
  unit.update(more);
  return unit;
}

/// Two hostile sides, "红方" (red) and "蓝方" (blue), with the shipped platforms.
inline Dict scenario_json(List red, List blue, int duration = 600) {
  const Dict red_side{{"id", "red"}, {"name", "红方"}, {"postures", Dict{{"blue", 3}}}, {"units", red}};
  const Dict blue_side{{"id", "blue"}, {"name", "蓝方"}, {"postures", Dict{{"red", 3}}}, {"units", blue}};
  return {{"id", "test"},
          {"title", "Test"},
          {"start", 1'000'000'000'000},
          {"duration", duration},
          {"platforms", List{(kScenarios / "platforms/common.json").string()}},
          {"sides", List{red_side, blue_side}}};
}

/// A scenario file of the test's own; loading it tells its mistakes.
inline std::shared_ptr<const Scenario> load_scenario(const Dict& json) {
  const testing::ScratchFolder folder;
  write_json_file(folder.path() / "broken.json", json);
  return Simulation::load(folder.path() / "broken.json");
}

inline Simulation play(const Dict& json, int advance_seconds = 10, std::uint64_t seed = 1) {
  return {load_scenario(json), seed, advance_seconds};
}

inline Simulation play_shipped(const std::string& name, int advance_seconds, std::uint64_t seed = 1) {
  return {Simulation::load(kScenarios / (name + ".json")), seed, advance_seconds};
}

/// The unit that the scenario file calls so, also when it is destroyed.
inline const Unit& unit_of(const Simulation& simulation, std::string_view file_id) {
  for (const Unit& unit : simulation.world().units) {
    if (unit.file_id == file_id) return unit;
  }
  throw KeyError("no unit " + std::string(file_id));
}

/// A command text in which `<...>` stands for the id of the unit or group of this name in the file.
inline std::string with_ids(const Simulation& simulation, std::string text) {
  while (text.find('<') != std::string::npos) {
    const std::size_t at = text.find('<');
    const std::string name = text.substr(at + 1, text.find('>') - at - 1);
    std::string id;
    for (const Unit& unit : simulation.world().units) id = unit.file_id == name ? unit.id : id;
    for (const Group& group : simulation.world().groups) id = group.name == name ? group.id : id;
    text.replace(at, name.size() + 2, id);
  }
  return text;
}

/// Gives orders that must take effect.
inline void order(Simulation& simulation, const std::string& text) {
  const std::vector<CommandFault> faults = simulation.execute({with_ids(simulation, text)});
  ASSERT_TRUE(faults.empty()) << text << ": " << faults.front().reason;
}

/// Lets every armed unit of the side fire at what it finds.
inline void free_weapons(Simulation& simulation, std::size_t side) {
  std::vector<std::string> commands;
  for (const Unit& unit : simulation.world().units) {
    if (unit.side != side || !unit.platform->armed()) continue;
    commands.push_back("SetWeaponControl({SIDE='" + simulation.world().sides[side].setup->name + "',UNIT='" + unit.id +
                       "',CONTROL='free'})");
  }
  ASSERT_TRUE(simulation.execute(commands).empty());
}

}  // namespace tessra::sim
