// Friendly sides share their contacts. Both the initial build and every update end with this.

#include "Tessra/entitys/commonfunction.h"
#include "Tessra/entitys/deduce_RL/deduction.h"
#include "Tessra/entitys/deduce_RL/record_parts.h"
#include "Tessra/entitys/deduce_RL/table_walks.h"
#include "Tessra/entitys/field_names.h"

namespace tessra {

namespace {

std::optional<double> number(const Dict& contact, Name key) {
  return contact.contains(key) ? std::optional(contact.at_real(key)) : std::nullopt;
}

}  // namespace

bool Deduction::adopts_contact(std::string_view side, FirstContacts& own_contacts, const Dict& contact) const {
  const Value* unit_id = contact.find(names::kActualUnitID);
  if (unit_id == nullptr) return true;
  if (auto* const unit = element_of(*unit_id); unit != nullptr && unit->get_attribute(names::kSide).is_text(side)) {
    return false;
  }
  const Dict* own = own_contacts.on(*unit_id);
  if (own == nullptr) return true;
  const auto status = number(*own, names::kIDStatus);
  if (status && *status > number(contact, names::kIDStatus).value_or(0)) return false;
  const auto age = number(*own, names::kAge);
  return !(age && *age <= number(contact, names::kAge).value_or(3));
}

void Deduction::for_each_friend(const FriendViews& views,
                                const std::function<void(const FriendShare& share, const SideView& view)>& visit) {
  for (const auto& [side, player] : players) {
    const Dict* info = sides_info.as_dict().find_dict(player->get_attribute("ID"));
    if (info == nullptr || !info->non_empty("Friend")) continue;
    work_on(side);
    std::optional<FirstContacts> own;
    for (const Value& friend_id : info->at_list("Friend")) {
      const SideView* view = views.find(friend_id.to_text());
      if (view == nullptr) continue;
      if (!own) own.emplace(player->get_dict("Contacts"));
      visit({side, *player, *own, friend_id, side_id2name.at(friend_id)}, *view);
    }
  }
  work_on("");
}

void Deduction::share_initial_contacts(const FriendViews& views) {
  for_each_friend(views, [&](const FriendShare& share, const SideView& view) {
    friend_side_contacts.set(share.friend_id, view.contacts);
    share.player.get_dict("friend_side_units").set(share.friend_name, view.units);
    const auto fetch = [&](std::span<const Visited> contacts) { fetch_for_sharing(share, contacts, view.contacts); };
    visit_together(view.contacts, fetch, [&](const Value& contact_id, const Value& contact) {
      if (share.own.contacts().contains(contact_id)) return;
      if (adopts_contact(share.side, share.own, entry_dict(contact_id, contact))) share.own.adopt(contact_id, contact);
    });
  });
}

void Deduction::share_updated_contacts(const FriendViews& views) {
  for_each_friend(views, [&](const FriendShare& share, const SideView& view) {
    Dict known_units = share.player.get_dict("friend_side_units").at_dict(share.friend_name);
    visit_found(view.units, known_units.find_all(view.units),
                [](const Value& unit_id, const Value& unit, Value* known) {
                  if (known != nullptr) cf::update_dict(entry_dict(unit_id, *known), entry_dict(unit_id, unit));
                });
    if (!friend_side_contacts.contains(share.friend_id)) friend_side_contacts.set(share.friend_id, Dict());
    Dict record = friend_side_contacts.at_dict(share.friend_id);
    const auto fetch = [&](std::span<const Visited> contacts) { fetch_for_sharing(share, contacts, record); };
    visit_together(view.contacts, fetch, [&](const Value& contact_id, const Value& contact) {
      share_updated_contact(share, contact_id, contact, record);
    });
  });
}

void Deduction::fetch_for_sharing(const FriendShare& share, std::span<const Visited> contacts,
                                  const Dict& record) const {
  std::vector<const Value*> ids;
  ids.reserve(contacts.size());
  for (const auto& [contact_id, contact] : contacts) ids.push_back(&contact_id);
  const Dict own = share.own.contacts();
  own.fetch_under(ids);
  record.fetch_under(ids);

  // The units that those are on which the side may adopt.
  std::vector<ElementTable::Sought> units;
  units.reserve(contacts.size());
  for (const auto& [contact_id, contact] : contacts) {
    if (own.contains(contact_id)) continue;
    const Value* unit_id = unit_of(contact);
    const Value* known = unit_id == nullptr ? record.find(contact_id) : nullptr;
    if (known != nullptr) unit_id = unit_of(*known);
    if (unit_id != nullptr && unit_id->is_string()) units.push_back({unit_id->as_text(), KeyRef(*unit_id).hash()});
  }
  for (const auto* unit : elements.find_all(units)) {
    if (unit != nullptr) (*unit)->attributes().fetch();
  }
}

void Deduction::share_updated_contact(const FriendShare& share, const Value& contact_id, const Value& fresh,
                                      Dict& record) {
  Dict own = share.own.contacts();
  if (Dict* held = own.find_dict(contact_id)) {
    share.own.merge(contact_id, *held, entry_dict(contact_id, fresh));
    return;
  }
  if (Dict* known = record.find_dict(contact_id)) {
    known->update(entry_dict(contact_id, fresh));
  } else {
    record.set(contact_id, fresh);
  }
  const Value contact = record.at(contact_id);
  if (adopts_contact(share.side, share.own, entry_dict(contact_id, contact))) share.own.adopt(contact_id, contact);
}

}  // namespace tessra
