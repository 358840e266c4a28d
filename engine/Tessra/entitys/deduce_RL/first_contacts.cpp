#include "Tessra/entitys/deduce_RL/first_contacts.h"

#include "Tessra/entitys/deduce_RL/record_parts.h"

namespace tessra {

namespace {

/// Whether notes are kept under this value. Ids are texts; whatever else a record may carry is looked for.
bool is_key(const Value& unit_id) { return unit_id.is_string(); }

}  // namespace

const Dict* FirstContacts::on(const Value& unit_id) {
  constexpr int kFew = 6;  // questions that walking answers for less than noting costs
  if (!is_key(unit_id) || (!noted_ && ++asked_ <= kFew)) return look_for(unit_id);
  if (!noted_) note_all();
  if (forgotten_.erase(unit_id)) {
    if (const Dict* found = look_for(unit_id)) first_.set(unit_id, *found);
  }
  return first_.find_dict(unit_id);
}

void FirstContacts::merge(Dict& contact, const Dict& fresh) {
  const Value* turned = noted_ ? fresh.find("ActualUnitID") : nullptr;
  const Value before = turned != nullptr ? contact.get("ActualUnitID") : Value();
  contact.update(fresh);
  if (turned == nullptr || *turned == before) return;
  for (const Value& unit_id : {before, *turned}) {
    if (is_key(unit_id)) forgotten_.set(unit_id, true);
    if (is_key(unit_id)) first_.erase(unit_id);
  }
}

void FirstContacts::adopt(const Value& contact_id, const Value& contact) {
  contacts_.set(contact_id, contact);
  const Value unit_id = contact.as_dict().get("ActualUnitID");
  if (!noted_ || !is_key(unit_id)) return;
  // Added last, so it is the first on its unit only where there was none.
  if (!first_.contains(unit_id) && !forgotten_.contains(unit_id)) first_.set(unit_id, contact);
}

void FirstContacts::note_all() {
  noted_ = true;
  first_.reserve(contacts_.size());
  for (auto [contact_id, contact] : contacts_) {
    const Value* unit_id = entry_dict(contact_id, contact).find("ActualUnitID");
    if (unit_id != nullptr && is_key(*unit_id) && !first_.contains(*unit_id)) first_.set(*unit_id, contact);
  }
}

const Dict* FirstContacts::look_for(const Value& unit_id) const {
  for (auto [contact_id, contact] : contacts_) {
    const Value* actual = entry_dict(contact_id, contact).find("ActualUnitID");
    if (actual != nullptr && *actual == unit_id) return &contact.as_dict();
  }
  return nullptr;
}

}  // namespace tessra
