#include "Tessra/entitys/deduce_RL/first_contacts.h"

#include <algorithm>

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
  const Value* contact_id = first_.find(unit_id);
  return contact_id != nullptr ? contacts_.find_dict(*contact_id) : nullptr;
}

void FirstContacts::merge(const Value& contact_id, Dict& contact, const Dict& fresh) {
  const Value* turned = noted_ ? fresh.find("ActualUnitID") : nullptr;
  const Value before = turned != nullptr ? contact.get("ActualUnitID") : Value();
  contact.update(fresh);
  if (turned == nullptr || *turned == before) return;
  forget(before, contact_id);
  note(*turned, contact_id);
}

void FirstContacts::adopt(const Value& contact_id, const Value& contact) {
  contacts_.set(contact_id, contact);
  if (noted_) note(contact.as_dict().get("ActualUnitID"), contact_id);
}

void FirstContacts::note_all() {
  noted_ = true;
  first_.reserve(contacts_.size());
  for (auto [contact_id, contact] : contacts_) {
    if (const Value* unit_id = entry_dict(contact_id, contact).find("ActualUnitID")) note(*unit_id, contact_id);
  }
}

void FirstContacts::note(const Value& unit_id, const Value& contact_id) {
  if (!is_key(unit_id)) return;
  Value& first = first_[unit_id];
  if (first.is_none()) {
    first = contact_id;
    return;
  }
  Value later = contact_id;
  if (is_before(contact_id, first)) first.swap(later);
  if (!more_.contains(unit_id)) more_.set(unit_id, List());
  more_.at(unit_id).as_list().push_back(later);
}

void FirstContacts::forget(const Value& unit_id, const Value& contact_id) {
  Value* first = is_key(unit_id) ? first_.find(unit_id) : nullptr;
  if (first == nullptr) return;
  List* others = more_.find_list(unit_id);
  if (others == nullptr || others->empty()) {
    first_.erase(unit_id);
    return;
  }
  // What is forgotten moves to the end of the others, the earliest of which may become the first.
  if (*first == contact_id) {
    const auto earlier = [this](const Value& a, const Value& b) { return is_before(a, b); };
    first->swap(*std::min_element(others->begin(), others->end(), earlier));
  }
  std::iter_swap(std::find(others->begin(), others->end(), contact_id), others->end() - 1);
  others->truncate(others->size() - 1);
}

bool FirstContacts::is_before(const Value& contact_id, const Value& other_id) const {
  return contacts_.place(contact_id) < contacts_.place(other_id);
}

const Dict* FirstContacts::look_for(const Value& unit_id) const {
  for (auto [contact_id, contact] : contacts_) {
    const Value* actual = entry_dict(contact_id, contact).find("ActualUnitID");
    if (actual != nullptr && *actual == unit_id) return &contact.as_dict();
  }
  return nullptr;
}

}  // namespace tessra
