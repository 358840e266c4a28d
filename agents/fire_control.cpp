#include "agents/fire_control.h"

#include <algorithm>
#include <limits>
#include <tuple>

#include "Tessra/entitys/geo.h"

namespace tessra {

namespace {

// A unit drops an attack when the contact is lost on the way. After a few attempts it does not try again.
constexpr int kMostAttempts = 3;

/// The contacts a unit is ordered against, by id.
Dict target_list(GameUnit& unit) {
  const Dict logic = unit.get_dict("AI");
  const Dict* targets = logic.find_dict("TargetList");
  return targets != nullptr ? *targets : Dict();
}

/// Identifies a target by the actual unit, since a side may have several contacts on it: its own and those of friends.
std::string target_key(const Contact& contact) { return std::string(contact.actual_unit().value_or(contact.id())); }

bool is_fresh(const Contact& contact) {
  // Seconds since last seen. Contacts are lost after 300 s, but a friend's lost contact stays in the table unchanged.
  constexpr double kOldest = 240;
  return contact.type() == ContactType::facility || contact.age().value_or(0) <= kOldest;
}

/// Of several contacts on one unit, keeps the most recent and accurate one: an attack is only as good as its contact.
void keep_best_contacts(std::vector<Contact>& targets) {
  const auto quality = [](const Contact& contact) {
    return std::tuple(target_key(contact), contact.age().value_or(0), contact.uncertainty().value_or(0));
  };
  std::ranges::sort(targets, {}, quality);
  const auto same = [](const Contact& a, const Contact& b) { return target_key(a) == target_key(b); };
  targets.erase(std::unique(targets.begin(), targets.end(), same), targets.end());
}

template <class Visit>
void for_each_unit(const Situation& situation, Visit&& visit) {
  for (const auto* table :
       {&situation.aircrafts(), &situation.ships(), &situation.submarines(), &situation.facilitys()}) {
    for (const auto& [id, element] : *table) visit(dynamic_cast<GameUnit&>(*element));
  }
}

}  // namespace

const Role* FireControl::role_of(const GameUnit& unit) const {
  const auto role = std::ranges::find(roles_, unit.platform(), &Role::class_name);
  return role != roles_.end() ? &*role : nullptr;
}

void FireControl::free_weapons(const Situation& situation) const {
  for_each_unit(situation, [&](GameUnit& unit) {
    if (settings_.allows_unit(unit.guid(), unit.attributes().get("Name"))) unit.set_weapon_control("free");
  });
}

void FireControl::give_up_what_was_refused(const Situation& situation) {
  for (const RefusedOrder& refused : situation.refused_orders()) {
    for (auto& [order, attempts] : attempts_) {
      const std::string names = "UNIT='" + order.first + "', CONTACT='" + order.second + "'";
      if (refused.command.find(names) == std::string::npos) continue;
      attempts = kMostAttempts;
      // A friend's contact that the friend has lost: no other unit need try either.
      if (refused.reason.find("holds no contact") != std::string::npos) lost_contacts_.insert(order.second);
    }
  }
}

std::vector<Contact> FireControl::targets_in(const Situation& situation) const {
  std::vector<Contact> targets = situation.contact_list();
  std::erase_if(targets, [&](const Contact& contact) {
    const bool usable = contact.position() && contact.type() && is_fresh(contact) && situation.may_be_enemy(contact);
    return !usable || lost_contacts_.contains(contact.id()) || !settings_.allows_target(contact);
  });
  keep_best_contacts(targets);
  return targets;
}

void FireControl::engage(const Situation& situation) {
  give_up_what_was_refused(situation);
  assigned_.clear();
  std::vector<std::pair<GameUnit*, const Role*>> free_units;
  for_each_unit(situation, [&](GameUnit& unit) {
    const Dict targets = target_list(unit);
    for (auto [contact_id, order] : targets) {
      const auto contact = situation.contact(contact_id.as_text());
      ++assigned_[contact ? target_key(*contact) : contact_id.to_text()];
    }
    const Role* role = role_of(unit);
    const bool allowed = settings_.allows_unit(unit.guid(), unit.attributes().get("Name"));
    if (role != nullptr && targets.empty() && allowed) free_units.emplace_back(&unit, role);
  });
  const std::vector<Contact> targets = targets_in(situation);
  for (const auto& [unit, role] : free_units) engage_unit(*unit, *role, targets);
}

void FireControl::engage_unit(GameUnit& unit, const Role& role, const std::vector<Contact>& targets) {
  // Preference of the role comes before distance; among equally preferred contacts the nearest wins.
  std::vector<ContactType> wanted = role.targets;
  std::erase_if(wanted, [&](ContactType type) { return unit.weapon_reach(type) <= 0; });
  if (wanted.empty()) return;
  const Contact* best = nullptr;
  auto best_rank = wanted.end();
  double best_distance = std::numeric_limits<double>::infinity();
  for (const Contact& contact : targets) {
    const std::string id(contact.id());
    const auto rank = std::ranges::find(wanted, *contact.type());
    if (rank == wanted.end() || rank > best_rank || assigned_[target_key(contact)] >= shooters_) continue;
    const auto attempts = attempts_.find({std::string(unit.guid()), id});
    if (attempts != attempts_.end() && attempts->second >= kMostAttempts) continue;
    const double distance = distance_between(unit.position(), *contact.position());
    if (distance > role.reach || (rank == best_rank && distance >= best_distance)) continue;
    best = &contact;
    best_rank = rank;
    best_distance = distance;
  }
  if (best == nullptr) return;
  unit.attack(best->id());
  ++attempts_[{std::string(unit.guid()), std::string(best->id())}];
  ++assigned_[target_key(*best)];
}

}  // namespace tessra
