#include <fmt/format.h>

#include <algorithm>

#include "simulation/order_limits.h"
#include "simulation/orders.h"

namespace tessra::sim {

namespace {

/// Takes a unit off its mission. What it does by order goes on; what it does for the mission or on its own ends.
void leave_mission(Unit& unit) {
  unit.mission.clear();
  unit.next_corner = 0;
  std::erase_if(unit.attacks, [](const AttackOrder& order) { return order.own_decision; });
  if (!unit.course_ordered && unit.attacks.empty()) set_course(unit, {});
}

/// Missions are part of every record, so their number and size are limited.
void check_room(const SideState& side, const Mission& mission) {
  if (side.missions.size() >= kMaxMissions) {
    throw CommandError(fmt::format("the side already has {} missions, the maximum", kMaxMissions));
  }
  std::size_t places = mission.zone.size();
  for (const Mission& held : side.missions) places += held.zone.size();
  if (places > kMaxMissionPlaces) {
    throw CommandError(fmt::format("the side's zones would have {} places, at most {}", places, kMaxMissionPlaces));
  }
}

void add_mission(World& world, const CommandArguments& arguments, Mission mission) {
  SideState& side = world.sides[ordered_side(world, arguments)];
  mission.name = arguments.text("NAME");
  if (mission.name.size() > kMaxNameBytes) {
    throw CommandError(fmt::format("NAME is longer than {} bytes", kMaxNameBytes));
  }
  if (find_mission_named(side, mission.name) != nullptr) {
    throw CommandError(fmt::format("mission '{}' already exists", quoted_name(mission.name)));
  }
  check_room(side, mission);
  mission.id = fmt::format("{}-mission#{}", side.setup->id, ++side.missions_made);
  side.missions.push_back(std::move(mission));
}

const Mission& ordered_mission(World& world, const CommandArguments& arguments, std::string_view argument) {
  const std::string name = arguments.text(argument);
  const Mission* mission = find_mission_named(world.sides[ordered_side(world, arguments)], name);
  if (mission == nullptr) throw CommandError(fmt::format("there is no mission '{}'", quoted_name(name)));
  return *mission;
}

}  // namespace

void add_patrol_mission(World& world, const CommandArguments& arguments) {
  add_mission(world, arguments, {"", "", MissionKind::patrol, arguments.places("ZONE"), {}});
}

void add_strike_mission(World& world, const CommandArguments& arguments) {
  const std::size_t side = ordered_side(world, arguments);
  const std::vector<std::string> targets = arguments.texts("TARGETS");
  // Contacts may be lost later; at the time of the order they must exist.
  for (const std::string& target : targets) {
    if (find_contact(world, side, target) == nullptr) {
      throw CommandError(fmt::format("side holds no contact '{}'", quoted_name(target)));
    }
  }
  add_mission(world, arguments, {"", "", MissionKind::strike, {}, targets});
}

void delete_mission(World& world, const CommandArguments& arguments) {
  const std::size_t side = ordered_side(world, arguments);
  const std::string id = ordered_mission(world, arguments, "NAME").id;
  for (Unit& unit : world.units) {
    if (unit.side == side && unit.mission == id) leave_mission(unit);
  }
  std::erase_if(world.sides[side].missions, [&](const Mission& mission) { return mission.id == id; });
}

void assign_unit(World& world, const CommandArguments& arguments) {
  const std::string mission = ordered_mission(world, arguments, "MISSION").id;
  const std::vector<std::size_t> units = ordered_units(world, arguments);
  // Checked for all members of a group before any of them changes.
  for (const std::size_t index : units) {
    if (world.units[index].platform->kind == UnitKind::facility) {
      throw CommandError(fmt::format("unit '{}' cannot move", world.units[index].id));
    }
  }
  for (const std::size_t index : units) {
    Unit& unit = world.units[index];
    unit.course_ordered = false;
    unit.returning = false;
    leave_mission(unit);
    unit.mission = mission;
  }
}

void unassign_unit(World& world, const CommandArguments& arguments) {
  for (const std::size_t index : ordered_units(world, arguments)) leave_mission(world.units[index]);
}

}  // namespace tessra::sim
