#include "Tessra/entitys/deduce_RL/contact_sharing.h"

#include <optional>

#include "Tessra/entitys/commonfunction.h"
#include "Tessra/entitys/deduce_RL/agent_calls.h"
#include "Tessra/entitys/deduce_RL/element_lookup.h"
#include "Tessra/entitys/deduce_RL/first_contacts.h"
#include "Tessra/entitys/deduce_RL/record_parts.h"
#include "Tessra/entitys/field_names.h"

namespace tessra {

namespace {

/// What one friend shares with one player.
struct FriendShare {
  std::string_view side;  // the player's
  RuleAgentBase& player;
  FirstContacts& own;
  const Value& friend_id;
  const Value& friend_name;
};

/// Visits every pair of a player and a friend of its side that has a view: `visit(share, view)`.
template <class Visit>
void for_each_friend(Deduction& engine, const FriendViews& views, Visit&& visit) {
  for (const auto& [side, player] : engine.players) {
    const Dict* info = engine.sides_info.as_dict().find_dict(player->get_attribute("ID"));
    if (info == nullptr || !info->non_empty("Friend")) continue;
    work_on(engine, side);
    std::optional<FirstContacts> own;
    for (const Value& friend_id : info->at_list("Friend")) {
      const SideView* view = views.find(friend_id.to_text());
      if (view == nullptr) continue;
      if (!own) own.emplace(player->get_dict("Contacts"));
      visit(FriendShare{side, *player, *own, friend_id, engine.side_id2name.at(friend_id)}, *view);
    }
  }
  work_on(engine, "");
}

std::optional<double> number(const Dict& contact, Name key) {
  return contact.contains(key) ? std::optional(contact.at_real(key)) : std::nullopt;
}

/// Whether a friend's contact is new or better than what the side holds on the same unit.
bool is_better(const EpisodeState& engine, const FriendShare& share, const Dict& contact) {
  const Value* unit_id = contact.find(names::kActualUnitID);
  if (unit_id == nullptr) return true;  // nothing to compare it with
  // A friend may have a contact on a unit of this very side.
  auto* const unit = element_of(engine, *unit_id);
  if (unit != nullptr && unit->get_attribute(names::kSide).is_text(share.side)) return false;
  const Dict* own = share.own.on(*unit_id);
  if (own == nullptr) return true;
  // The better identified contact wins, and at equal status the more recent one.
  const auto status = number(*own, names::kIDStatus);
  if (status && *status > number(contact, names::kIDStatus).value_or(0)) return false;
  const auto age = number(*own, names::kAge);
  return !(age && *age <= number(contact, names::kAge).value_or(3));
}

/// Updates those of the friend's units that the initial situation contained; later ones are not shared.
void share_units(const FriendShare& share, const Dict& units) {
  Dict known_units = share.player.get_dict("friend_side_units").at_dict(share.friend_name);
  const std::vector<Value*> known = known_units.find_all(units);
  std::size_t at = 0;
  for (auto [unit_id, unit] : units) {
    Value* const held = known[at++];
    if (held != nullptr) cf::update_dict(entry_dict(unit_id, *held), entry_dict(unit_id, unit));
  }
}

/// `record` holds the fullest known form of each of the friend's contacts.
void share_contact(const EpisodeState& engine, const FriendShare& share, const Value& contact_id, const Value& fresh,
                   Dict& record) {
  Dict own = share.own.contacts();
  if (Dict* held = own.find_dict(contact_id)) {
    share.own.merge(contact_id, *held, entry_dict(contact_id, fresh));
    return;
  }
  // Updates leave out what has not changed, so a contact is completed from earlier ones before it is adopted.
  if (Dict* known = record.find_dict(contact_id)) {
    known->update(entry_dict(contact_id, fresh));
  } else {
    record.set(contact_id, fresh);
  }
  const Value contact = record.at(contact_id);
  if (is_better(engine, share, entry_dict(contact_id, contact))) share.own.adopt(contact_id, contact);
}

}  // namespace

void share_initial_contacts(Deduction& engine, const FriendViews& views) {
  for_each_friend(engine, views, [&](const FriendShare& share, const SideView& view) {
    engine.friend_side_contacts.set(share.friend_id, view.contacts);
    share.player.get_dict("friend_side_units").set(share.friend_name, view.units);
    for (auto [contact_id, contact] : view.contacts) {
      if (share.own.contacts().contains(contact_id)) continue;
      if (is_better(engine, share, entry_dict(contact_id, contact))) share.own.adopt(contact_id, contact);
    }
  });
}

void share_updated_contacts(Deduction& engine, const FriendViews& views) {
  for_each_friend(engine, views, [&](const FriendShare& share, const SideView& view) {
    share_units(share, view.units);
    if (!engine.friend_side_contacts.contains(share.friend_id))
      engine.friend_side_contacts.set(share.friend_id, Dict());
    Dict record = engine.friend_side_contacts.at_dict(share.friend_id);
    for (auto [contact_id, contact] : view.contacts) share_contact(engine, share, contact_id, contact, record);
  });
}

}  // namespace tessra
