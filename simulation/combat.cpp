#include "simulation/combat.h"

#include <fmt/format.h>

#include <algorithm>

#include "simulation/scoring.h"

namespace tessra::sim {

namespace {

// A weapon is fired inside its range and flies a little beyond it, since the target moves on meanwhile.
constexpr double kFireShare = 0.9;
constexpr double kFlightShare = 1.2;

void take_weapon(Unit& unit, const WeaponType* type) {
  for (Mount& mount : unit.mounts) {
    for (auto record = mount.records.begin(); record != mount.records.end(); ++record) {
      if (record->type != type) continue;
      if (--record->load == 0) mount.records.erase(record);
      return;
    }
  }
}

void raise_alarm(World& world, std::size_t target, std::size_t attacker) {
  const std::size_t group = world.units[target].group;
  for (std::size_t index = 0; index < world.units.size(); ++index) {
    Unit& unit = world.units[index];
    if (index != target && (group == kNobody || unit.group != group)) continue;
    unit.attacker = attacker;
    unit.attacked_at = world.now;
  }
}

void fire(World& world, std::size_t shooter, AttackOrder& order, const WeaponType& weapon, std::size_t target) {
  Unit& unit = world.units[shooter];
  take_weapon(unit, &weapon);
  unit.next_shot = world.now + weapon.reload_seconds;
  --order.quantity;
  ++world.shots_fired;
  ++world.sides[unit.side].weapons_fired;
  Shot shot{
      fmt::format("weapon#{}", world.shots_fired), "", unit.side, &weapon, shooter, target, order.contact, unit.motion};
  shot.name = fmt::format("{} {}", weapon.name, world.shots_fired);
  shot.motion.height = weapon.height;
  shot.motion.speed = weapon.speed;
  world.shots.push_back(std::move(shot));
  raise_alarm(world, target, shooter);
}

/// Fires the first order that can be carried out now.
void fire_once(World& world, std::size_t index) {
  Unit& unit = world.units[index];
  for (AttackOrder& order : unit.attacks) {
    const Contact* contact = find_contact(world, unit.side, order.contact);
    if (contact == nullptr || !is_fresh(world, *contact)) continue;
    const Unit& target = world.units[contact->target];
    const WeaponRecord* record = choose_weapon(unit, target.platform->kind, order.weapon);
    if (record == nullptr || target.at_base) continue;
    const double reach = kFireShare * record->type->range;
    if (!may_be_within(unit.sphere, sphere_point(contact->seen.place), reach)) continue;
    if (distance_between(unit.motion.place, contact->seen.place) > reach) continue;
    fire(world, index, order, *record->type, contact->target);
    break;
  }
  std::erase_if(unit.attacks, [](const AttackOrder& order) { return order.quantity <= 0; });
}

void strike(World& world, const Shot& shot) {
  Unit& target = world.units[shot.target];
  if (!world.dice.happens(shot.type->hit_chance * (1 - target.platform->evasion))) return;
  ++world.hits;
  const double done = std::min(shot.type->damage, target.platform->damage_points - target.damage);
  target.damage += done;
  book_damage(world, target, done);
  if (target.damage >= target.platform->damage_points) destroy_unit(world, shot.target);
}

/// Flies one second; false when the weapon is spent.
bool fly(World& world, Shot& shot) {
  const Unit& target = world.units[shot.target];
  if (!target.alive || target.at_base || shot.flown > kFlightShare * shot.type->range) return false;
  const Way way = way_between(shot.motion.place, target.motion.place);
  if (way.metres <= shot.motion.speed) {
    strike(world, shot);
    return false;
  }
  shot.motion.place = place_beyond(shot.motion.place, way.bearing, shot.motion.speed);
  shot.motion.heading = way.bearing;
  shot.flown += shot.motion.speed;
  return true;
}

}  // namespace

bool is_fresh(const World& world, const Contact& contact) {
  const bool fixed = world.units[contact.target].platform->kind == UnitKind::facility;
  return fixed || world.now - contact.last_seen <= kFreshContact;
}

void fire_weapons(World& world) {
  for (std::size_t index = 0; index < world.units.size(); ++index) {
    const Unit& unit = world.units[index];
    if (!unit.alive || unit.at_base || unit.control == WeaponControl::hold) continue;
    if (!unit.attacks.empty() && world.now >= unit.next_shot) fire_once(world, index);
  }
}

void fly_shots(World& world) {
  for (auto shot = world.shots.begin(); shot != world.shots.end();) {
    shot = fly(world, *shot) ? std::next(shot) : world.shots.erase(shot);
  }
}

double damage_on_the_way(const World& world, std::size_t side, std::size_t target) {
  double expected = 0;
  for (const Shot& shot : world.shots) {
    if (shot.side != side || shot.target != target) continue;
    expected += shot.type->damage * shot.type->hit_chance * (1 - world.units[target].platform->evasion);
  }
  return expected;
}

}  // namespace tessra::sim
