// Decisions use what the side knows, never the truth. The target's unit is read only for facts the side has: its kind
// is known from the first look, its platform from identification 3.

#include "simulation/targeting.h"

#include <algorithm>
#include <limits>

#include "simulation/tracking.h"

namespace tessra::sim {

namespace {

constexpr int kSelfDefence = 120;    // seconds for which a unit fires back
constexpr double kChaseShare = 1.5;  // distance, in weapon ranges, up to which units on patrol pursue contacts
constexpr int kClassKnown = 3;       // identification from which a contact's platform is known
constexpr double kOverkill = 1.5;    // expected damage in flight, relative to the damage needed, that is enough

/// Expected damage by the side's weapons in flight, as far as the side can tell.
double damage_on_the_way(const World& world, std::size_t side, const Contact& contact) {
  const double evasion = contact.id_status >= kClassKnown ? world.units[contact.target].platform->evasion : 0;
  double expected = 0;
  for (const Shot& shot : world.shots) {
    if (shot.side != side || shot.target != contact.target) continue;
    expected += shot.type->damage * shot.type->hit_chance * (1 - evasion);
  }
  return expected;
}

/// Damage needed to destroy the target, as far as the side can tell. If its class is unknown, one hit of the unit's
/// weapon is assumed to be enough.
double damage_needed(const World& world, const Unit& unit, const Contact& contact) {
  const Unit& target = world.units[contact.target];
  const Platform& platform = *target.platform;
  if (contact.id_status >= kClassKnown) {
    const auto& damage = world.sides[unit.side].damage_done;
    const auto done = damage.find(target.key);
    return std::max(platform.damage_points - (done != damage.end() ? done->second : 0), 0.0);
  }
  const WeaponRecord* record = choose_weapon(unit, platform.kind);
  return record != nullptr ? record->type->damage : 0;
}

bool is_covered(const World& world, const Unit& unit, const Contact& contact) {
  const double expected = damage_on_the_way(world, unit.side, contact);
  return expected > 0 && expected >= kOverkill * damage_needed(world, unit, contact);
}

/// Distance up to which the unit would attack a contact; 0 if it has no weapon against it.
double engagement_reach(const World& world, const Unit& unit, const Contact& contact) {
  const WeaponRecord* record = choose_weapon(unit, world.units[contact.target].platform->kind);
  if (record == nullptr) return 0;
  const Mission* mission = find_mission(world.sides[unit.side], unit.mission);
  const bool chases = mission != nullptr && mission->kind == MissionKind::patrol && !unit.course_ordered &&
                      unit.platform->kind != UnitKind::facility;
  return record->type->range * (chases ? kChaseShare : 1);
}

struct Candidate {
  const Contact* contact = nullptr;
  double distance = std::numeric_limits<double>::infinity();
};

void consider(const World& world, const Unit& unit, const Contact& contact, Candidate& best) {
  if (!is_targetable(world, contact) || is_covered(world, unit, contact)) return;
  const double reach = engagement_reach(world, unit, contact);
  if (reach <= 0 || !may_be_within(unit.sphere, sphere_point(contact.seen.place), reach)) return;
  const double distance = distance_between(unit.motion.place, contact.seen.place);
  if (distance <= std::min(reach, best.distance)) best = {&contact, distance};
}

/// Nearest hostile contact to attack for a unit with free weapons.
const Contact* nearest_hostile(const World& world, const Unit& unit) {
  // Own contacts only: firing freely at a friend's contact takes an order.
  Candidate best;
  for (const auto& [key, contact] : world.sides[unit.side].contacts) {
    const bool known_hostile = contact.id_status >= 2 && is_hostile(world, unit.side, world.units[contact.target].side);
    if (known_hostile) consider(world, unit, contact, best);
  }
  return best.contact;
}

const Contact* attacker_in_reach(const World& world, const Unit& unit) {
  if (unit.attacker == kNobody || world.now - unit.attacked_at > kSelfDefence) return nullptr;
  const Contact* contact = contact_on(world, unit.side, unit.attacker);
  if (contact == nullptr) return nullptr;
  Candidate best;
  consider(world, unit, *contact, best);
  return best.contact;
}

void attack(const World& world, Unit& unit, const Contact& contact) {
  const WeaponRecord* record = choose_weapon(unit, world.units[contact.target].platform->kind);
  if (record != nullptr) unit.attacks.push_back({contact.id, record->type, record->type->salvo, true});
}

}  // namespace

const Contact* next_strike_target(const World& world, const Unit& unit, const Mission& mission) {
  Candidate best;
  for (const std::string& id : mission.targets) {
    const Contact* contact = find_contact(world, unit.side, id);
    if (contact == nullptr || !carries(unit, world.units[contact->target].platform->kind)) continue;
    const double distance = distance_between(unit.motion.place, contact->seen.place);
    if (distance < best.distance) best = {contact, distance};
  }
  return best.contact;
}

void drop_hopeless_attacks(const World& world, Unit& unit) {
  std::erase_if(unit.attacks, [&](const AttackOrder& order) {
    const Contact* contact = find_contact(world, unit.side, order.contact);
    if (contact == nullptr) return true;
    const UnitKind kind = world.units[contact->target].platform->kind;
    // During a turnaround the mounts may be empty, but they are filled before take-off.
    if (unit.at_base && unit.ready_at > 0) return !carries(unit, kind);
    if (order.own_decision && unit.control == WeaponControl::hold) return true;
    return choose_weapon(unit, kind, order.weapon) == nullptr;
  });
}

void choose_targets(const World& world, Unit& unit) {
  if (!unit.attacks.empty() || unit.control == WeaponControl::hold) return;
  const Contact* target = attacker_in_reach(world, unit);
  if (target == nullptr && unit.control == WeaponControl::free) target = nearest_hostile(world, unit);
  const Mission* mission = find_mission(world.sides[unit.side], unit.mission);
  if (target == nullptr && mission != nullptr && mission->kind == MissionKind::strike && !unit.course_ordered) {
    target = next_strike_target(world, unit, *mission);
    if (target != nullptr && is_covered(world, unit, *target)) target = nullptr;
  }
  if (target != nullptr) attack(world, unit, *target);
}

}  // namespace tessra::sim
