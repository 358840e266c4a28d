#include "simulation/orders.h"

#include <fmt/format.h>

#include <algorithm>

namespace tessra::sim {

namespace {

/// Aircraft stall below this fraction of their cruising speed.
constexpr double kSlowestFlight = 0.5;

/// The ordered units, all of which must be able to move.
std::vector<std::size_t> ordered_movers(const World& world, const CommandArguments& arguments) {
  std::vector<std::size_t> units = ordered_units(world, arguments);
  for (const std::size_t index : units) {
    if (world.units[index].platform->kind == UnitKind::facility) {
      throw CommandError(fmt::format("unit '{}' cannot move", world.units[index].id));
    }
  }
  return units;
}

void drop_own_decisions(Unit& unit) {
  std::erase_if(unit.attacks, [](const AttackOrder& order) { return order.own_decision; });
}

bool has_radar(const Unit& unit) {
  return std::any_of(unit.platform->sensors.begin(), unit.platform->sensors.end(),
                     [](const SensorType* sensor) { return sensor->kind == SensorKind::radar; });
}

WeaponControl control_named(const std::string& word) {
  if (word == "free") return WeaponControl::free;
  if (word == "tight") return WeaponControl::tight;
  if (word == "hold") return WeaponControl::hold;
  throw CommandError(fmt::format("CONTROL must be free, tight or hold, is '{}'", quoted_name(word)));
}

}  // namespace

std::size_t ordered_side(const World& world, const CommandArguments& arguments) {
  const std::string name = arguments.text("SIDE");
  for (std::size_t side = 0; side < world.sides.size(); ++side) {
    if (world.sides[side].setup->name == name) return side;
  }
  throw CommandError(fmt::format("there is no side '{}'", quoted_name(name)));
}

std::vector<std::size_t> ordered_units(const World& world, const CommandArguments& arguments) {
  const std::size_t side = ordered_side(world, arguments);
  const std::string id = arguments.text("UNIT");
  const std::size_t index = find_unit(world, id);
  if (index != kNobody && world.units[index].side == side) return {index};
  for (const Group& group : world.groups) {
    if (group.id == id && group.side == side && !group.members.empty()) return group.members;
  }
  throw CommandError(
      fmt::format("'{}' is no living unit of side '{}'", quoted_name(id), world.sides[side].setup->name));
}

void change_speed(World&, const CommandArguments& arguments) {
  // The engine sends this command at every start. It has no effect here, since an advance is not tied to wall-clock
  // time.
  if (!arguments.has("SPEED")) throw CommandError("SPEED is missing");
}

void plot_course(World& world, const CommandArguments& arguments) {
  const std::vector<Place> course = arguments.places("COURSE");
  for (const std::size_t index : ordered_movers(world, arguments)) {
    Unit& unit = world.units[index];
    drop_own_decisions(unit);
    unit.returning = false;
    unit.course_ordered = true;
    set_course(unit, course);
  }
}

void set_speed(World& world, const CommandArguments& arguments) {
  const double speed = arguments.number("SPEED", 0, 10'000);
  for (const std::size_t index : ordered_movers(world, arguments)) {
    Unit& unit = world.units[index];
    const bool aircraft = unit.platform->kind == UnitKind::aircraft;
    const double least = aircraft ? kSlowestFlight * unit.platform->cruise_speed : 0;
    unit.ordered_speed = std::clamp(speed, least, unit.platform->max_speed);
  }
}

void set_altitude(World& world, const CommandArguments& arguments) {
  const double height = arguments.number("ALTITUDE", -20'000, 100'000);
  for (const std::size_t index : ordered_movers(world, arguments)) {
    Unit& unit = world.units[index];
    unit.wanted_height = std::clamp(height, unit.platform->min_height, unit.platform->max_height);
  }
}

void set_radar(World& world, const CommandArguments& arguments) {
  const bool on = arguments.boolean("ON");
  const std::vector<std::size_t> units = ordered_units(world, arguments);
  if (std::none_of(units.begin(), units.end(), [&](std::size_t index) { return has_radar(world.units[index]); })) {
    throw CommandError("UNIT has no radar");
  }
  // In a group only some members may have a radar; the order is for those.
  for (const std::size_t index : units) world.units[index].radar_on = on && has_radar(world.units[index]);
}

void cancel_attack(World& world, const CommandArguments& arguments) {
  for (const std::size_t index : ordered_units(world, arguments)) {
    Unit& unit = world.units[index];
    unit.attacks.clear();
    if (!unit.course_ordered) set_course(unit, {});
  }
}

void set_weapon_control(World& world, const CommandArguments& arguments) {
  const WeaponControl control = control_named(arguments.text("CONTROL"));
  for (const std::size_t index : ordered_units(world, arguments)) world.units[index].control = control;
}

void return_to_base(World& world, const CommandArguments& arguments) {
  // Checked for all members of a group before any of them changes.
  const std::vector<std::size_t> units = ordered_movers(world, arguments);
  for (const std::size_t index : units) {
    if (world.units[index].base == kNobody) {
      throw CommandError(fmt::format("unit '{}' has no base", world.units[index].id));
    }
  }
  for (const std::size_t index : units) {
    Unit& unit = world.units[index];
    unit.attacks.clear();
    unit.mission.clear();
    unit.course_ordered = false;
    set_course(unit, {});
    unit.returning = !unit.at_base;
  }
}

}  // namespace tessra::sim
