#include "simulation/combat.h"

#include <fmt/format.h>

#include <algorithm>

#include "simulation/scoring.h"
#include "simulation/sensing.h"
#include "simulation/tracking.h"

namespace tessra::sim {

namespace {

// Firing inside the range and flying a little beyond it leaves a margin for a target that moves away meanwhile.
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

/// Lets the target and its group fire back. A shot is noticed only if the target's side has a contact on the shooter
/// and the shooter in sensor reach at that moment; otherwise the alarm would reveal more than the side can see.
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

/// Fires for the first attack that is possible now.
void fire_once(World& world, std::size_t index) {
  Unit& unit = world.units[index];
  for (AttackOrder& order : unit.attacks) {
    const Contact* contact = find_contact(world, unit.side, order.contact);
    if (contact == nullptr || !is_targetable(world, *contact)) continue;
    const WeaponRecord* record = choose_weapon(unit, world.units[contact->target].platform->kind, order.weapon);
    if (record == nullptr) continue;
    const double reach = kFireShare * record->type->range;
    // The cheap bound first: it rules out most pairs without a geodesic.
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
  // No more than what is left, so that the scores of a unit never exceed its value.
  const double done = std::min(shot.type->damage, target.platform->damage_points - target.damage);
  target.damage += done;
  world.sides[shot.side].damage_done[target.key] += done;
  book_damage(world, target, done, shot.side);
  if (target.damage >= target.platform->damage_points) destroy_unit(world, shot.target, shot.side);
}

/// Whether the weapon's seeker sees the target.
bool seeks(const World& world, const Shot& shot) {
  const Unit& target = world.units[shot.target];
  return target.alive && !target.at_base &&
         may_be_within(sphere_point(shot.motion.place), target.sphere, kSeekerReach) &&
         distance_between(shot.motion.place, target.motion.place) <= kSeekerReach;
}

/// The weapon reaches its target, or the place where it was sent.
void arrive(World& world, const Shot& shot, bool found) {
  if (found) {
    strike(world, shot);
  } else if (world.units[shot.target].platform->kind == UnitKind::facility) {
    learn_of_loss(world, shot.side, shot.target);  // a facility cannot have moved, so it is gone; others may have
  }
}

/// Flies one second; false when the weapon is spent.
bool fly(World& world, Shot& shot) {
  if (shot.flown > kFlightShare * shot.type->range) return false;
  // Guided by what the side knows: a lost contact leaves the weapon with its last position.
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
