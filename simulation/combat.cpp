#include "simulation/combat.h"

#include <fmt/format.h>

#include <algorithm>

#include "simulation/scoring.h"
#include "simulation/sensing.h"
#include "simulation/tracking.h"

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

/// A shot is noticed when the shooter is known and within sight at that moment; from elsewhere a weapon comes unseen.
void raise_alarm(World& world, std::size_t target, std::size_t attacker) {
  const std::size_t side = world.units[target].side;
  if (!world.units[target].alive || contact_on(world, side, attacker) == nullptr) return;
  if (!has_in_reach(world, side, world.units[attacker])) return;
  const std::size_t group = world.units[target].group;
  for (std::size_t index = 0; index < world.units.size(); ++index) {
    Unit& unit = world.units[index];
    if (index != target && (group == kNobody || unit.group != group)) continue;
    unit.attacker = attacker;
    unit.attacked_at = world.now;
  }
}

void fire(World& world, std::size_t shooter, AttackOrder& order, const WeaponType& weapon, const Contact& contact) {
  Unit& unit = world.units[shooter];
  SideState& side = world.sides[unit.side];
  take_weapon(unit, &weapon);
  unit.next_shot = world.now + weapon.reload_seconds;
  --order.quantity;
  ++world.shots_fired;
  const int number = ++side.weapons_fired;
  Shot shot;
  shot.id = fmt::format("{}-weapon#{}", side.setup->id, number);
  shot.name = fmt::format("{} {}", weapon.name, number);
  shot.side = unit.side;
  shot.type = &weapon;
  shot.shooter = shooter;
  shot.number = ++unit.shots_fired;
  shot.target = contact.target;
  shot.contact = contact.id;
  shot.aim = contact.seen.place;
  shot.motion = unit.motion;
  shot.motion.height = weapon.height;
  shot.motion.speed = weapon.speed;
  world.shots.push_back(std::move(shot));
  raise_alarm(world, contact.target, shooter);
}

/// Fires the first order that can be carried out now.
void fire_once(World& world, std::size_t index) {
  Unit& unit = world.units[index];
  for (AttackOrder& order : unit.attacks) {
    const Contact* contact = find_contact(world, unit.side, order.contact);
    if (contact == nullptr || !is_targetable(world, *contact)) continue;
    const WeaponRecord* record = choose_weapon(unit, world.units[contact->target].platform->kind, order.weapon);
    if (record == nullptr) continue;
    const double reach = kFireShare * record->type->range;
    if (!may_be_within(unit.sphere, sphere_point(contact->seen.place), reach)) continue;
    if (distance_between(unit.motion.place, contact->seen.place) > reach) continue;
    fire(world, index, order, *record->type, *contact);
    break;
  }
  std::erase_if(unit.attacks, [](const AttackOrder& order) { return order.quantity <= 0; });
}

void strike(World& world, const Shot& shot) {
  Unit& target = world.units[shot.target];
  const double chance = shot.type->hit_chance * (1 - target.platform->evasion);
  const auto number = static_cast<std::uint64_t>(shot.number);
  if (!world.dice.happens(chance, Luck::hit, world.now, {world.units[shot.shooter].key, number, target.key})) return;
  ++world.hits;
  const double done = std::min(shot.type->damage, target.platform->damage_points - target.damage);
  target.damage += done;
  world.sides[shot.side].damage_done[target.key] += done;
  book_damage(world, target, done, shot.side);
  if (target.damage >= target.platform->damage_points) destroy_unit(world, shot.target, shot.side);
}

/// Whether the weapon finds its target by itself.
bool seeks(const World& world, const Shot& shot) {
  const Unit& target = world.units[shot.target];
  return target.alive && !target.at_base &&
         may_be_within(sphere_point(shot.motion.place), target.sphere, kSeekerReach) &&
         distance_between(shot.motion.place, target.motion.place) <= kSeekerReach;
}

/// What a weapon does where it was sent.
void arrive(World& world, const Shot& shot, bool found) {
  if (found) {
    strike(world, shot);
  } else if (world.units[shot.target].platform->kind == UnitKind::facility) {
    learn_of_loss(world, shot.side, shot.target);  // what cannot be elsewhere is gone; anything else may have moved on
  }
}

/// Flies one second; false when the weapon is spent.
bool fly(World& world, Shot& shot) {
  if (shot.flown > kFlightShare * shot.type->range) return false;
  if (const Contact* contact = find_contact(world, shot.side, shot.contact)) shot.aim = contact->seen.place;
  const bool found = seeks(world, shot);
  const Way way = way_between(shot.motion.place, found ? world.units[shot.target].motion.place : shot.aim);
  if (way.metres <= shot.motion.speed) {
    arrive(world, shot, found);
    return false;
  }
  shot.motion.place = place_beyond(shot.motion.place, way.bearing, shot.motion.speed);
  shot.motion.heading = way.bearing;
  shot.flown += shot.motion.speed;
  return true;
}

}  // namespace

void fire_weapons(World& world) {
  for (const std::size_t index : world.by_key) {
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

}  // namespace tessra::sim
