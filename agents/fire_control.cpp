#include "agents/fire_control.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>

namespace tessra {

namespace {

/// The contacts a unit is ordered against, by id.
Dict target_list(GameUnit& unit) {
  const Dict logic = unit.get_dict("AI");
  const Dict* targets = logic.find_dict("TargetList");
  return targets != nullptr ? *targets : Dict();
}

/// The contact types the unit has a loaded weapon against.
std::set<std::int64_t> contact_types_in_reach(GameUnit& unit) {
  std::set<std::int64_t> types;
  for (auto [mount_id, mount] : unit.get_dict("Mounts")) {
    const Dict* records = mount.as_dict().find_dict("WeaponRecs");
    if (records == nullptr) continue;
    for (auto [record_id, record] : *records) {
      if (!record.as_dict().non_empty("CurrentLoad")) continue;
      for (const Value& type : record.as_dict().at_list("Targets")) types.insert(type.as_integer());
    }
  }
  return types;
}

/// What tells targets apart: the unit behind a contact, since a side may hold a friend's contact on it beside its own.
std::string target_key(std::string_view contact_id, const Dict& contact) {
  const Value unit = contact.get("ActualUnitID");
  return unit.truthy() ? unit.to_text() : std::string(contact_id);
}

std::string target_key(std::string_view contact_id, const Situation& situation) {
  const Dict contacts = situation.contacts();
  const Dict* contact = contacts.find_dict(contact_id);
  return contact != nullptr ? target_key(contact_id, *contact) : std::string(contact_id);
}

/// Whether the contact is, or may be, an enemy whose place is known.
bool is_target(const Dict& contact, const Situation& situation) {
  constexpr double kOldest = 300;  // seconds since it was last seen
  if (!contact.contains("Lon") || !contact.contains("Lat") || !contact.contains("Type")) return false;
  // Who is known and no enemy is left in peace.
  constexpr int kHostile = 3;
  const Value* side = contact.find("Side");
  if (side != nullptr && situation.posture_toward(*side).value_or(kHostile) != kHostile) return false;
  const bool moves = contact.at("Type") != Value(int{kFacilityContact});
  return !moves || !contact.contains("Age") || contact.at_real("Age") <= kOldest;
}

template <class Visit>
void for_each_unit(const Situation& situation, Visit&& visit) {
  for (const auto* table :
       {&situation.aircrafts(), &situation.ships(), &situation.submarines(), &situation.facilitys()}) {
    for (const auto& [id, element] : *table) visit(dynamic_cast<GameUnit&>(*element));
  }
}

}  // namespace

double distance_between(GeoPoint a, GeoPoint b) {
  constexpr double kMetresPerDegree = 111'195;  // on a sphere of 6371 km
  const double radians = (a.lat + b.lat) / 2 * 3.14159265358979 / 180;
  return kMetresPerDegree * std::hypot((a.lon - b.lon) * std::cos(radians), a.lat - b.lat);
}

const Role* FireControl::role_of(const GameUnit& unit) const {
  const Value class_name = unit.attributes().get("ClassName");
  const auto role = std::ranges::find_if(roles_, [&](const Role& r) { return class_name.is_text(r.class_name); });
  return role != roles_.end() ? &*role : nullptr;
}

void FireControl::free_weapons(const Situation& situation) const {
  for_each_unit(situation, [&](GameUnit& unit) {
    if (settings_.allows_unit(unit.guid(), unit.attributes().get("Name"))) unit.set_weapon_control("free");
  });
}

void FireControl::engage(const Situation& situation) {
  assigned_.clear();
  std::vector<std::pair<GameUnit*, const Role*>> free_units;
  for_each_unit(situation, [&](GameUnit& unit) {
    const Dict targets = target_list(unit);
    for (auto [contact_id, order] : targets) ++assigned_[target_key(contact_id.to_text(), situation)];
    const Role* role = role_of(unit);
    const bool allowed = settings_.allows_unit(unit.guid(), unit.attributes().get("Name"));
    if (role != nullptr && targets.empty() && allowed) free_units.emplace_back(&unit, role);
  });
  for (const auto& [unit, role] : free_units) engage_unit(*unit, *role, situation);
}

void FireControl::engage_unit(GameUnit& unit, const Role& role, const Situation& situation) {
  // A contact a friend has lost stays in the picture and cannot be attacked: a few orders without effect are enough.
  constexpr int kMostAttempts = 3;
  const std::set<std::int64_t> types = contact_types_in_reach(unit);
  if (types.empty()) return;
  std::string best;
  std::size_t best_rank = role.targets.size();
  double best_distance = std::numeric_limits<double>::infinity();
  for (auto [contact_id, record] : situation.contacts()) {
    const Dict& contact = record.as_dict();
    if (!is_target(contact, situation) || assigned_[target_key(contact_id.to_text(), contact)] >= shooters_) continue;
    if (!settings_.allows_target(contact_id.to_text(), contact)) continue;
    if (attempts_[{std::string(unit.guid()), contact_id.to_text()}] >= kMostAttempts) continue;
    const std::int64_t type = contact.at("Type").to_integer();
    if (!types.contains(type)) continue;
    const auto wanted = std::ranges::find(role.targets, type);
    const auto rank = static_cast<std::size_t>(wanted - role.targets.begin());
    const double distance = distance_between(unit.position(), {contact.at_real("Lon"), contact.at_real("Lat")});
    if (rank == role.targets.size() || distance > role.reach) continue;
    if (rank > best_rank || (rank == best_rank && distance >= best_distance)) continue;
    best = contact_id.to_text();
    best_rank = rank;
    best_distance = distance;
  }
  if (best.empty()) return;
  unit.attack(best);
  ++attempts_[{std::string(unit.guid()), best}];
  ++assigned_[target_key(best, situation)];
}

}  // namespace tessra
