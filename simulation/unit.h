#pragma once

// State of units, weapons in flight and groups. The rules are in movement, sensing, tasks and combat.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "simulation/catalog.h"
#include "simulation/geo.h"
#include "simulation/scenario.h"

namespace tessra::sim {

constexpr std::size_t kNobody = static_cast<std::size_t>(-1);  ///< "none" in place of an index

/// Position and motion: degrees, metres (negative under water), metres per second.
struct Motion {
  Place place;
  double height = 0;
  double heading = 0;
  double speed = 0;
};

/// Weapons of one type in a mount. Empty records are removed; rearming creates new ones.
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
  const WeaponType* weapon;  ///< null: the one with the longest range
  int quantity;
  bool own_decision;  ///< the unit's own choice, not an order
};

struct Unit {
  std::string id;       ///< used in records and orders; opaque, so that it reveals nothing to other sides
  std::string file_id;  ///< used in the scenario file
  std::uint64_t key;    ///< hash of scenario and unit id; random numbers depend on it, never on the index
  std::uint64_t phase;  ///< hash of key and seed: who looks and decides first differs from episode to episode
  std::string name;
  std::size_t side;
  const Platform* platform;

  Motion motion;
  SpherePoint sphere{};  ///< of `motion.place`
  double wanted_height = 0;
  std::optional<double> ordered_speed;
  std::vector<Place> course;  ///< remaining waypoints
  std::optional<Leg> leg;     ///< to the first of them
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
  int ready_at = 0;  ///< tick at which the turnaround ends; 0 when the unit is ready

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

/// A weapon in flight.
struct Shot {
  std::string id;
  std::string name;
  std::size_t side;
  const WeaponType* type;
  std::size_t shooter;
  int number;  ///< count of the shooter's shots
  std::size_t target;
  std::string contact;  ///< id of the contact it was fired at, held by the shooter's side or a friend
  Place aim;            ///< last known position of that contact
  Motion motion;
  double flown = 0;
};

struct Group {
  std::string id;  ///< opaque, like a unit's
  std::string name;
  std::size_t side;
  std::vector<std::size_t> members;  ///< living ones; the first leads
};

/// Maximum speed; damage reduces it by up to half.
double top_speed(const Unit& unit);

/// Whether it is the unit's turn in this tick, for something done every `every` seconds. Phases differ between units,
/// which spreads the work over the ticks.
inline bool is_turn_of(const Unit& unit, int tick, int every) {
  return (static_cast<std::uint64_t>(tick) + unit.phase % 86'400) % static_cast<std::uint64_t>(every) == 0;
}

/// Sets a new course; no waypoints means none.
void set_course(Unit& unit, std::vector<Place> course);

/// Refills all mounts. The records get new ids.
void rearm(Unit& unit);

/// The record to fire from at a kind of target: of the wanted type, or of the type with the longest range; null if
/// there is none.
const WeaponRecord* choose_weapon(const Unit& unit, UnitKind target, const WeaponType* wanted = nullptr);

/// Whether the unit has a weapon against a kind of target, of the wanted type if given; at its base this includes
/// weapons it will get before take-off.
bool carries(const Unit& unit, UnitKind target, const WeaponType* wanted = nullptr);

}  // namespace tessra::sim
