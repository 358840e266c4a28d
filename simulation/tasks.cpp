// What each unit does next, in order of precedence: return to base, ordered course, attacks, mission.

#include "simulation/tasks.h"

#include <algorithm>
#include <limits>

#include "simulation/movement.h"
#include "simulation/targeting.h"
#include "simulation/tracking.h"

namespace tessra::sim {

namespace {

constexpr double kArrived = 1000;     // metres from the base at which a unit lands
constexpr double kFuelMargin = 1.2;   // factor on the fuel for the way home
constexpr double kFuelReserve = 300;  // seconds at cruising speed
constexpr double kHoldShare = 0.8;    // fraction of the weapon's range at which a unit stops closing in

const Mission* mission_of(const World& world, const Unit& unit) {
  return find_mission(world.sides[unit.side], unit.mission);
}

/// Assigns the nearest other base of the side when the unit's own is lost. A base counts as suitable if a unit of the
/// same kind calls it home.
void find_refuge(World& world, Unit& unit) {
  if (unit.base == kNobody || world.units[unit.base].alive) return;
  double nearest = std::numeric_limits<double>::infinity();
  std::size_t refuge = kNobody;
  for (const std::size_t index : world.by_key) {
    const Unit& other = world.units[index];
    if (other.side != unit.side || other.base == kNobody || !world.units[other.base].alive) continue;
    if (other.platform->kind != unit.platform->kind) continue;
    const double distance = distance_between(unit.motion.place, world.units[other.base].motion.place);
    if (distance < nearest) {
      nearest = distance;
      refuge = other.base;
    }
  }
  unit.base = refuge;
}

bool needs_fuel(const World& world, const Unit& unit) {
  const Platform& platform = *unit.platform;
  if (platform.fuel <= 0 || platform.cruise_speed <= 0) return false;
  const double seconds =
      distance_between(unit.motion.place, world.units[unit.base].motion.place) / platform.cruise_speed;
  return unit.fuel < platform.burn * (kFuelMargin * seconds + kFuelReserve);
}

bool is_disarmed(const Unit& unit) {
  return unit.platform->armed() &&
         std::all_of(unit.mounts.begin(), unit.mounts.end(), [](const Mount& mount) { return mount.records.empty(); });
}

bool strike_is_done(const World& world, const Unit& unit, const Mission& mission) {
  return mission.kind == MissionKind::strike && next_strike_target(world, unit, mission) == nullptr;
}

bool must_return(const World& world, const Unit& unit) {
  if (unit.platform->kind != UnitKind::aircraft || unit.base == kNobody) return false;
  if (needs_fuel(world, unit)) return true;
  if (unit.course_ordered || !unit.attacks.empty()) return false;
  const Mission* mission = mission_of(world, unit);
  return is_disarmed(unit) || (mission != nullptr && strike_is_done(world, unit, *mission));
}

void go_home(World& world, Unit& unit) {
  const Unit& base = world.units[unit.base];
  if (distance_between(unit.motion.place, base.motion.place) <= kArrived) {
    land(world, unit);
  } else {
    set_course(unit, {base.motion.place});
  }
}

void wait_at_base(World& world, Unit& unit) {
  // The base may be a moving ship.
  const Unit& base = world.units[unit.base];
  unit.motion.place = base.motion.place;
  unit.sphere = base.sphere;
  if (world.now < unit.ready_at) return;
  if (unit.ready_at > 0) {
    rearm(unit);
    unit.damage = 0;
    unit.ready_at = 0;
  }
  const Mission* mission = mission_of(world, unit);
  const bool mission_waits = mission != nullptr && !strike_is_done(world, unit, *mission);
  if (unit.course_ordered || !unit.attacks.empty() || mission_waits) take_off(unit);
}

/// Closes in on the first target. `drop_hopeless_attacks` has run before, so contact and weapon exist.
void pursue(World& world, Unit& unit) {
  const AttackOrder& order = unit.attacks.front();
  const Contact* contact = find_contact(world, unit.side, order.contact);
  const WeaponRecord* record = choose_weapon(unit, world.units[contact->target].platform->kind, order.weapon);
  const double distance = distance_between(unit.motion.place, contact->seen.place);
  const bool close = distance <= kHoldShare * record->type->range && is_targetable(world, *contact);
  set_course(unit, close ? std::vector<Place>() : std::vector<Place>{contact->seen.place});
}

void follow_mission(const World& world, Unit& unit) {
  const Mission* mission = mission_of(world, unit);
  if (mission == nullptr || mission->zone.empty() || !unit.course.empty()) return;
  set_course(unit, {mission->zone[unit.next_corner % mission->zone.size()]});
  ++unit.next_corner;
}

void steer(World& world, Unit& unit) {
  if (unit.course.empty()) unit.course_ordered = false;
  if (unit.course_ordered || unit.platform->kind == UnitKind::facility) return;
  if (!unit.attacks.empty()) {
    pursue(world, unit);
    return;
  }
  follow_mission(world, unit);
}

void decide(World& world, Unit& unit) {
  find_refuge(world, unit);
  const bool was_attacking = !unit.attacks.empty();
  drop_hopeless_attacks(world, unit);
  if (was_attacking && unit.attacks.empty() && !unit.course_ordered) set_course(unit, {});
  if (unit.at_base) return wait_at_base(world, unit);
  if (!unit.returning && must_return(world, unit)) {
    unit.returning = true;
    unit.course_ordered = false;
    unit.attacks.clear();
  }
  if (unit.returning && unit.base != kNobody) return go_home(world, unit);
  unit.returning = false;
  choose_targets(world, unit);
  steer(world, unit);
}

}  // namespace

void decide_tasks(World& world) {
  for (const std::size_t index : world.by_key) {
    Unit& unit = world.units[index];
    if (unit.alive && is_turn_of(unit, world.now, kDecisionSeconds)) decide(world, unit);
  }
}

std::string_view status_of(const Unit& unit) {
  if (unit.at_base) return unit.ready_at > 0 ? "Turnaround" : "AtBase";
  if (unit.returning) return "Returning";
  if (!unit.attacks.empty()) return "Attacking";
  if (unit.course_ordered) return "OnCourse";
  return unit.mission.empty() ? "Waiting" : "OnMission";
}

}  // namespace tessra::sim
