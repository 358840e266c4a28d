#pragma once

// A scenario as read from its file: validated, and shared unchanged by all episodes.

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "simulation/catalog.h"
#include "simulation/geo.h"

namespace tessra::sim {

/// What units attack on their own. free: hostile contacts. tight: only units that attack them. hold: nothing; ordered
/// attacks wait too.
enum class WeaponControl { free, tight, hold };

enum class MissionKind { strike, patrol, support };

struct UnitSetup {
  std::string id;
  std::string name;
  const Platform* platform = nullptr;
  Place place;
  double height = 0;
  double heading = 0;
  std::string base;      ///< unit id, or empty
  bool at_base = false;  ///< starts landed or in port
  bool radar = false;
  WeaponControl control = WeaponControl::tight;
};

struct GroupSetup {
  std::string id;
  std::string name;
  std::vector<std::string> members;
};

struct MissionSetup {
  std::string id;
  std::string name;
  MissionKind kind = MissionKind::patrol;
  std::vector<Place> zone;           ///< patrol and support: the corners, visited in turn
  std::vector<std::string> targets;  ///< strike: units of other sides known from the start
  std::vector<std::string> units;
};

struct ReferencePoint {
  std::string id;
  std::string name;
  Place place;
};

struct SideSetup {
  std::string id;
  std::string name;
  std::map<std::string, int> postures;  ///< side id to 0 neutral, 1 friendly, 2 unfriendly, 3 hostile, 4 unknown
  std::vector<std::string> known;       ///< units of other sides known from the start
  std::vector<ReferencePoint> reference_points;
  std::vector<UnitSetup> units;
  std::vector<GroupSetup> groups;
  std::vector<MissionSetup> missions;
};

struct Scenario {
  std::string id;
  std::string title;
  std::int64_t start = 0;  ///< milliseconds since 1970
  int duration = 0;        ///< seconds
  double visibility = 1;   ///< factor on the range of visual sensors
  Catalog catalog;
  std::vector<SideSetup> sides;
};

/// Reads and checks a scenario file and its platform files. Throws `ScenarioError`.
std::shared_ptr<const Scenario> read_scenario(const std::filesystem::path& path);

}  // namespace tessra::sim
