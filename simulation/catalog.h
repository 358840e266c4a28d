#pragma once

// Data of platforms, sensors and weapons. All units follow the same rules and differ only in this data. Units: metres,
// metres per second, seconds, kilograms.

#include <filesystem>
#include <functional>
#include <initializer_list>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace tessra::sim {

/// Kinds of units, with their codes in records.
enum class UnitKind { group = 0, aircraft = 1, ship = 2, submarine = 3, facility = 4, weapon = 6 };

/// The category that lists units of a kind in records.
std::string_view category_of(UnitKind kind);

/// The kinds a sensor can detect or a weapon can hit.
class KindSet {
 public:
  KindSet() = default;
  void add(UnitKind kind) { bits_ |= bit(kind); }
  bool has(UnitKind kind) const { return (bits_ & bit(kind)) != 0; }

 private:
  static unsigned bit(UnitKind kind) { return 1U << static_cast<unsigned>(kind); }
  unsigned bits_ = 0;
};

/// radar: must be switched on; up to the horizon, nothing under water. visual: up to the horizon, reduced by poor
/// visibility, nothing under water. sonar: no horizon. listener: detects active radars, up to the horizon.
enum class SensorKind { radar, visual, sonar, listener };

struct SensorType {
  std::string name;
  SensorKind kind = SensorKind::radar;
  double range = 0;      ///< against a target of signature 1
  int look_seconds = 1;  ///< between two looks
  double chance = 0;     ///< probability that a look at a target in range succeeds
  // Errors of one look, as standard deviations.
  double bearing_error = 0;  ///< degrees
  double range_error = 0;    ///< fraction of the distance
  double height_error = 0;   ///< metres; only for aircraft and submarines
  KindSet targets;
};

struct WeaponType {
  std::string name;
  double range = 0;
  double speed = 0;
  double height = 0;  ///< flight height; negative under water
  double hit_chance = 0;
  double damage = 0;       ///< points
  int reload_seconds = 1;  ///< between two shots of one unit
  int salvo = 1;           ///< weapons per attack without an ordered quantity
  KindSet targets;
};

struct MountType {
  std::string name;
  struct Load {
    const WeaponType* weapon;
    int count;
  };
  std::vector<Load> loads;
};

struct Platform {
  std::string class_name;
  UnitKind kind = UnitKind::ship;
  double max_speed = 0;
  double cruise_speed = 0;
  double climb_rate = 0;
  double min_height = 0;
  double max_height = 0;
  double cruise_height = 0;
  double mast = 0;           ///< height of antennas and superstructure above the unit
  double signature = 1;      ///< factor on the range at which it is detected
  double evasion = 0;        ///< fraction of hits it evades
  double damage_points = 1;  ///< damage that destroys it
  double value = 0;          ///< score for its loss
  double fuel = 0;           ///< 0: needs none
  double burn = 0;           ///< kilograms per second at cruising speed
  int turnaround = 0;        ///< seconds at the base until refuelled and rearmed
  std::vector<const SensorType*> sensors;
  std::vector<MountType> mounts;

  bool armed() const { return !mounts.empty(); }
};

/// The contents of platform files, by name. Platforms point into the tables, so a catalog cannot be copied.
struct Catalog {
  std::map<std::string, SensorType, std::less<>> sensors;
  std::map<std::string, WeaponType, std::less<>> weapons;
  std::map<std::string, Platform, std::less<>> platforms;

  Catalog() = default;
  Catalog(const Catalog&) = delete;
  Catalog& operator=(const Catalog&) = delete;

  /// Adds the contents of a platform file. Throws `ScenarioError`, also for a name that is already defined.
  void read(const std::filesystem::path& path);
};

}  // namespace tessra::sim
