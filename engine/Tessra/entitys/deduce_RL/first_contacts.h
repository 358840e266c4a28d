#pragma once

#include "Tessra/base/value.h"

namespace tessra {

/// A side's first contact on each unit, in the order of its contact table, while friends share their contacts with it.
///
/// Asking for every contact of a friend by walking the table would take the product of both numbers. So when more than
/// a few questions come, the table is walked once and noted by unit. From then on the side's contacts must be changed
/// through `merge` and `adopt` alone, which keep the notes true.
class FirstContacts {
 public:
  /// `contacts` is the side's own table, shared.
  explicit FirstContacts(Dict contacts) : contacts_(std::move(contacts)) {}

  const Dict& contacts() const { return contacts_; }

  /// The first contact whose `ActualUnitID` equals this value, or null.
  const Dict* on(const Value& unit_id);
  /// Merges fresh data into the table's contact of this id, shallowly; the data wins.
  void merge(const Value& contact_id, Dict& contact, const Dict& fresh);
  /// Adds a contact whose id the table does not hold.
  void adopt(const Value& contact_id, const Value& contact);

 private:
  void note_all();
  void note(const Value& unit_id, const Value& contact_id);
  void forget(const Value& unit_id, const Value& contact_id);
  const Dict* look_for(const Value& unit_id) const;
  /// Whether the first of two contacts of the table was added before the other.
  bool is_before(const Value& contact_id, const Value& other_id) const;

  Dict contacts_;
  int asked_ = 0;
  bool noted_ = false;
  Dict first_;  // unit id → the id of its first contact
  Dict more_;   // unit id → the ids of its other contacts, in any order
};

}  // namespace tessra
