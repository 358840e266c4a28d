#include "simulation/movement.h"

#include <algorithm>

namespace tessra::sim {

namespace {

double wanted_speed(const Unit& unit) {
  const bool aircraft = unit.platform->kind == UnitKind::aircraft;
  // Aircraft without a course circle in place, so they keep their speed; everything else stops.
  if (unit.course.empty() && !aircraft) return 0;
  const bool hurrying = !unit.attacks.empty() && !unit.course_ordered;
  const double wanted = hurrying ? unit.platform->max_speed : unit.platform->cruise_speed;
  return std::min(unit.ordered_speed.value_or(wanted), top_speed(unit));
}

void climb(Unit& unit) {
  const double rate = unit.platform->climb_rate;
  unit.motion.height += std::clamp(unit.wanted_height - unit.motion.height, -rate, rate);
}

void follow_course(Unit& unit) {
  double metres = unit.motion.speed;  // in one second; a waypoint may be passed in the middle of it
  while (!unit.course.empty() && metres > 0) {
    if (!unit.leg) unit.leg.emplace(unit.motion.place, unit.course.front());
    metres = unit.leg->walk(metres);
    unit.motion.place = unit.leg->place();
    unit.motion.heading = unit.leg->heading();
    if (!unit.leg->finished()) break;
    unit.course.erase(unit.course.begin());
    unit.leg.reset();
  }
  unit.sphere = sphere_point(unit.motion.place);
}

/// Burns one second of fuel; false when it ran out.
bool burn_fuel(Unit& unit) {
  const Platform& platform = *unit.platform;
  if (platform.fuel <= 0 || platform.cruise_speed <= 0) return true;
  // Drag grows with the square of speed.
  const double effort = unit.motion.speed / platform.cruise_speed;
  unit.fuel = std::max(0.0, unit.fuel - platform.burn * effort * effort);
  return unit.fuel > 0;
}

void move_unit(World& world, std::size_t index) {
  Unit& unit = world.units[index];
  if (!unit.alive || unit.at_base || unit.platform->kind == UnitKind::facility) return;
  const bool fuelled = unit.fuel > 0 || unit.platform->fuel <= 0;
  unit.motion.speed = fuelled ? wanted_speed(unit) : 0;
  climb(unit);
  follow_course(unit);
  if (!burn_fuel(unit) && unit.platform->kind == UnitKind::aircraft) destroy_unit(world, index, kNobody);
}

}  // namespace

void move_units(World& world) {
  for (const std::size_t index : world.by_key) move_unit(world, index);
}

void land(World& world, Unit& unit) {
  unit.at_base = true;
  unit.returning = false;
  // A unit that starts at its base is ready at once.
  unit.ready_at = world.now > 0 ? world.now + unit.platform->turnaround : 0;
  set_course(unit, {});
  unit.motion = world.units[unit.base].motion;
  unit.motion.speed = 0;
  unit.sphere = sphere_point(unit.motion.place);
}

void take_off(Unit& unit) {
  unit.at_base = false;
  unit.fuel = unit.platform->fuel;
  unit.wanted_height = unit.platform->cruise_height;
  unit.motion.height = std::clamp(unit.motion.height, unit.platform->min_height, unit.platform->max_height);
}

}  // namespace tessra::sim
