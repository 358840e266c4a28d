#pragma once

// What moves and fights in an episode: units, weapons in flight, groups. Plain state; the rules stand in movement,
// sensing, tasks and combat.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "simulation/catalog.h"
#include "simulation/geo.h"
#include "simulation/scenario.h"

namespace tessra::sim {

constexpr std::size_t kNobody = static_cast<std::size_t>(-1);  ///< no unit, where the index of one could stand

/// Where something is and where it goes: degrees, metres (negative under water), metres per second.
struct Motion {
  Place place;
  double height = 0;
  double heading = 0;
  double speed = 0;
};

/// Weapons of one type in a mount. Records that run empty leave the mount; rearming brings new ones.
struct WeaponRecord {
  std::string id;
  const WeaponType* type;
  int load;
  int full;
};

struct Mount {
  std::string id;
  const MountType* type;
  std::vector<WeaponRecord> records;
};

/// An attack a unit still has to carry out.
struct AttackOrder {
  std::string contact;
  const WeaponType* weapon;  ///< null: whichever reaches farthest
  int quantity;
  bool own_decision;  ///< not ordered by anybody
};

struct Unit {
  std::string id;       ///< as records and orders name it: opaque, so that it tells other sides nothing
  std::string file_id;  ///< as the scenario file names it
  std::uint64_t key;    ///< its own number, hashed from scenario and unit: luck goes by it, never by the index
  std::uint64_t phase;  ///< hashed from key and seed: who looks and decides first differs from episode to episode
  std::string name;
  std::size_t side;
  const Platform* platform;

  Motion motion;
  SpherePoint sphere{};  ///< of `motion.place`
  double wanted_height = 0;
  std::optional<double> ordered_speed;
  std::vector<Place> course;  ///< waypoints still ahead
  std::optional<Leg> leg;     ///< toward the first of them
  double fuel = 0;

  std::size_t base = kNobody;
  std::size_t group = kNobody;
  std::string mission;
  std::size_t next_corner = 0;
  std::vector<AttackOrder> attacks;
  std::size_t attacker = kNobody;  ///< unit that last fired at it
  int attacked_at = 0;
  int next_shot = 0;
  int shots_fired = 0;
  int ready_at = 0;  ///< tick at which the base is done with it

  double damage = 0;
  std::vector<Mount> mounts;
  int records_made = 0;
  WeaponControl control = WeaponControl::tight;

  bool alive = true;
  bool at_base = false;
  bool returning = false;
  bool course_ordered = false;
  bool radar_on = false;
};

/// A weapon on its way.
struct Shot {
  std::string id;
  std::string name;
  std::size_t side;
  const WeaponType* type;
  std::size_t shooter;
  int number;  ///< among the shooter's
  std::size_t target;
  std::string contact;  ///< the contact it was fired at, of the shooter's side or a friend's
  Place aim;            ///< where that contact was last known to be
  Motion motion;
  double flown = 0;
};

struct Group {
  std::string id;  ///< opaque, like a unit's
  std::string name;
  std::size_t side;
  std::vector<std::size_t> members;  ///< alive ones; the first leads
};

/// The unit's best speed, which damage takes up to half of.
double top_speed(const Unit& unit);

/// Whether it is the unit's turn at this tick, when it has one every so many seconds. Units have theirs at different
/// seconds, so that no second has all the work.
inline bool is_turn_of(const Unit& unit, int tick, int every) {
  return (static_cast<std::uint64_t>(tick) + unit.phase % 86'400) % static_cast<std::uint64_t>(every) == 0;
}

/// Sets a new course; no waypoints means none.
void set_course(Unit& unit, std::vector<Place> course);

/// Fills all mounts. The records get ids that the unit never had before.
void rearm(Unit& unit);

/// The record to fire from against a kind of target: of the wanted type, or of the type that reaches farthest; null
/// when there is none.
const WeaponRecord* choose_weapon(const Unit& unit, UnitKind target, const WeaponType* wanted = nullptr);

/// Whether the unit has a weapon against a kind of target, of the wanted type if one is named; at its base also one
/// that it gets there before it leaves.
bool carries(const Unit& unit, UnitKind target, const WeaponType* wanted = nullptr);

}  // namespace tessra::sim
