#include "Tessra/entitys/deduce_RL/first_contacts.h"

#include <algorithm>
#include <span>
#include <vector>

#include "Tessra/entitys/deduce_RL/record_parts.h"
#include "Tessra/entitys/deduce_RL/table_walks.h"
#include "Tessra/entitys/field_names.h"

namespace tessra {

const Value* unit_of(const Value& contact) {
  const Dict* fields = contact.if_dict();
  return fields != nullptr ? fields->find(names::kActualUnitID) : nullptr;
}

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
  const Value& merged = contacts_.at(contact_id);
  note(merged, unit_of(merged));
}

void FirstContacts::adopt(const Value& contact_id, const Value& contact) {
  const Value& adopted = contacts_.set(contact_id, contact);
  if (!is_noted_) return;
  // An insertion may close the gaps that deletions left: then no place is what it was.
  if (contacts_.place(adopted) < end_) {
    note_all();
  } else {
    note(adopted, unit_of(adopted));
  }
}

void FirstContacts::note_all() {
  is_noted_ = true;
  end_ = 0;
  notes_.reset(contacts_.size());
  std::vector<const Value*> units;
  std::size_t at = 0;
  const auto fetch = [&](std::span<const Visited> some) {
    units.clear();
    at = 0;
    for (const auto& [contact_id, contact] : some) {
      units.push_back(unit_of(contact));
      if (units.back() != nullptr) units.back()->fetch_held();
    }
  };
  visit_together(contacts_, fetch,
                 [&](const Value& /*contact_id*/, const Value& contact) { note(contact, units[at++]); });
}

void FirstContacts::note(const Value& contact, const Value* unit_id) {
  const std::size_t place = contacts_.place(contact);
  end_ = std::max(end_, place + 1);
  if (!contact.is_dict()) {
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
