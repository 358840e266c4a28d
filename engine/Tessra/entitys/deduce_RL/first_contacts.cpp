#include "Tessra/entitys/deduce_RL/first_contacts.h"

#include <algorithm>

#include "Tessra/entitys/deduce_RL/record_parts.h"
#include "Tessra/entitys/field_names.h"

namespace tessra {

const Dict* FirstContacts::on(const Value& unit_id) {
  if (!is_noted_) note_all();
  // Ids are texts; whatever else a record may carry is looked for.
  if (is_odd_ || !unit_id.is_string()) return look_for(unit_id);
  const std::uint32_t hash = KeyRef(unit_id).hash();
  const Value* first = nullptr;
  notes_.for_each(hash, [&](std::uint32_t place) {
    const Value& contact = contacts_.at_place(place);
    if (first != nullptr && first <= &contact) return;
    const Value* actual = contact.as_dict().find(names::kActualUnitID);
    if (actual != nullptr && *actual == unit_id) first = &contact;
  });
  return first != nullptr ? &first->as_dict() : nullptr;
}

void FirstContacts::merge(const Value& contact_id, Dict& contact, const Dict& fresh) {
  contact.update(fresh);
  if (!is_noted_ || !fresh.contains(names::kActualUnitID)) return;
  note(contacts_.at(contact_id));
}

void FirstContacts::adopt(const Value& contact_id, const Value& contact) {
  const Value& adopted = contacts_.set(contact_id, contact);
  if (!is_noted_) return;
  // An insertion may close the gaps that deletions left: then no place is what it was.
  if (contacts_.place(adopted) < end_) {
    note_all();
  } else {
    note(adopted);
  }
}

void FirstContacts::note_all() {
  is_noted_ = true;
  end_ = 0;
  notes_.reset(contacts_.size());
  for (auto [contact_id, contact] : contacts_) note(contact);
}

void FirstContacts::note(const Value& contact) {
  const std::size_t place = contacts_.place(contact);
  end_ = std::max(end_, place + 1);
  const Dict* fields = contact.if_dict();
  const Value* unit_id = fields != nullptr ? fields->find(names::kActualUnitID) : nullptr;
  if (fields == nullptr) {
    is_odd_ = true;
  } else if (unit_id != nullptr && unit_id->is_string()) {
    notes_.add(KeyRef(*unit_id).hash(), static_cast<std::uint32_t>(place));
  }
}

const Dict* FirstContacts::look_for(const Value& unit_id) const {
  for (auto [contact_id, contact] : contacts_) {
    const Value* actual = entry_dict(contact_id, contact).find(names::kActualUnitID);
    if (actual != nullptr && *actual == unit_id) return &contact.as_dict();
  }
  return nullptr;
}

}  // namespace tessra
