// The part of a side's record that describes its own units, which it knows exactly. Contacts are in side_records.cpp.

#include <fmt/format.h>

#include "Tessra/base/value.h"
#include "simulation/records.h"
#include "simulation/tasks.h"

namespace tessra::sim {

namespace {

/// The word as used in orders and scenario files.
std::string_view control_word(WeaponControl control) {
  switch (control) {
    case WeaponControl::free:
      return "free";
    case WeaponControl::tight:
      return "tight";
    case WeaponControl::hold:
      break;
  }
  return "hold";
}

Dict record_basic(const World& world, const Unit& unit) {
  const Mission* mission = find_mission(world.sides[unit.side], unit.mission);
  return {{"Name", unit.name},
          {"UnitType", static_cast<int>(unit.platform->kind)},
          {"ClassName", unit.platform->class_name},
          {"MaxSpeed", unit.platform->max_speed},
          {"Value", unit.platform->value},
          {"MissionName", mission != nullptr ? mission->name : ""},
          {"BaseID", unit.base != kNobody ? world.units[unit.base].id : ""},
          {"GroupID", unit.group != kNobody ? world.groups[unit.group].id : ""},
          {"WeaponControl", control_word(unit.control)}};
}

/// Codes of the kinds a weapon can hit, the same as those of contact types.
List target_codes(const WeaponType& weapon) {
  List codes;
  for (const UnitKind kind : {UnitKind::aircraft, UnitKind::ship, UnitKind::submarine, UnitKind::facility}) {
    if (weapon.targets.has(kind)) codes.push_back(static_cast<int>(kind));
  }
  return codes;
}

Dict record_mounts(const Unit& unit) {
  Dict mounts;
  for (const Mount& mount : unit.mounts) {
    Dict records;
    for (const WeaponRecord& record : mount.records) {
      records.set(record.id, Dict{{"WeaponName", record.type->name},
                                  {"CurrentLoad", record.load},
                                  {"MaxLoad", record.full},
                                  {"Range", record.type->range},
                                  {"Targets", target_codes(*record.type)}});
    }
    mounts.set(mount.id, Dict{{"Name", mount.type->name}, {"WeaponRecs", records}});
  }
  return mounts;
}

/// All sensors but radars are passive and always active.
Dict record_sensors(const Unit& unit) {
  Dict sensors;
  for (const SensorType* sensor : unit.platform->sensors) {
    const bool active = sensor->kind != SensorKind::radar || unit.radar_on;
    sensors.set(unit.id + "-" + sensor->name,
                Dict{{"Name", sensor->name}, {"Range", sensor->range}, {"Active", active}});
  }
  return sensors;
}

Dict record_fuel(const Unit& unit) {
  if (unit.platform->fuel <= 0) return {};
  return {
      {unit.id + "-fuel", Dict{{"CurrentQuantity", std::int64_t(unit.fuel)}, {"MaxQuantity", unit.platform->fuel}}}};
}

Dict record_targets(const Unit& unit) {
  Dict targets;
  for (const AttackOrder& order : unit.attacks) {
    targets.set(order.contact,
                Dict{{"WeaponName", order.weapon != nullptr ? order.weapon->name : ""}, {"Quantity", order.quantity}});
  }
  return {{"TargetList", targets}};
}

Dict record_live(const Unit& unit) {
  const Dict details{{"Mounts", record_mounts(unit)},
                     {"Sensors", record_sensors(unit)},
                     {"FuelRecs", record_fuel(unit)},
                     {"AI", record_targets(unit)}};
  const double fuel = unit.platform->fuel > 0 ? 100 * unit.fuel / unit.platform->fuel : 100;
  return {{"Status", status_of(unit)},
          {"Fuel", record_number(fuel)},
          {"Damage", record_number(100 * unit.damage / unit.platform->damage_points)},
          {"Radar", unit.radar_on},
          {"Course", record_places(unit.course)},
          {"ActiveUnit", details}};
}

/// Weapons in flight are units of their own to the engine. Their target is given as the contact they were fired at, not
/// as the actual unit.
void record_shots(const World& world, std::size_t side, Dict& basic, Dict& live, Dict& positions) {
  for (const Shot& shot : world.shots) {
    if (shot.side != side) continue;
    basic.set(shot.id, Dict{{"Name", shot.name},
                            {"UnitType", static_cast<int>(UnitKind::weapon)},
                            {"ClassName", shot.type->name},
                            {"ShooterID", world.units[shot.shooter].id}});
    live.at_dict("Weapon").set(shot.id, Dict{{"Status", "InFlight"}, {"TargetID", shot.contact}});
    positions.at_dict("Weapon").set(shot.id, record_position(shot.motion));
  }
}

/// A group has no state of its own: it is where its leader is and does what its leader does.
void record_groups(const World& world, std::size_t side, Dict& basic, Dict& live, Dict& positions) {
  for (const Group& group : world.groups) {
    if (group.side != side || group.members.empty()) continue;
    List members;
    for (const std::size_t member : group.members) members.push_back(world.units[member].id);
    const Unit& leader = world.units[group.members.front()];
    basic.set(group.id, Dict{{"Name", group.name}, {"UnitType", static_cast<int>(UnitKind::group)}});
    live.at_dict("Group").set(group.id, Dict{{"Status", status_of(leader)}, {"Members", members}});
    positions.at_dict("Group").set(group.id, record_position(leader.motion));
  }
}

}  // namespace

void record_units(const World& world, std::size_t side, Dict& basic, Dict& live, Dict& positions) {
  // All categories, even empty ones: otherwise the loss of a category's last unit would delete the category.
  for (const UnitKind kind : {UnitKind::aircraft, UnitKind::ship, UnitKind::submarine, UnitKind::facility,
                              UnitKind::weapon, UnitKind::group}) {
    live.set(category_of(kind), Dict());
    positions.set(category_of(kind), Dict());
  }
  for (const Unit& unit : world.units) {
    if (!unit.alive || unit.side != side) continue;
    const std::string_view category = category_of(unit.platform->kind);
    basic.set(unit.id, record_basic(world, unit));
    live.at_dict(category).set(unit.id, record_live(unit));
    positions.at_dict(category).set(unit.id, record_position(unit.motion));
  }
  record_shots(world, side, basic, live, positions);
  record_groups(world, side, basic, live, positions);
}

}  // namespace tessra::sim
