#pragma once

#include "Tessra/base/hash_index.h"
#include "Tessra/base/value.h"

namespace tessra {

/// A side's first contact on each unit, in the order of its contact table, while friends share their contacts with it.
///
/// Walking the table for every contact of a friend would take the product of both numbers. So at the first question the
/// table is walked once, and the place of each contact is noted under its unit. From then on the side's contacts must
/// be changed through `merge` and `adopt` alone. A contact that has turned to another unit leaves a stale note, which
/// is harmless: every answer is checked against the contact itself.
class FirstContacts {
 public:
  /// `contacts` is the side's own table, shared.
  explicit FirstContacts(Dict contacts) : contacts_(std::move(contacts)) {}

  const Dict& contacts() const { return contacts_; }

  /// The first contact whose `ActualUnitID` equals this value, or null.
  const Dict* on(const Value& unit_id);
  /// Merges fresh data into the table's contact of this id, shallowly; the data wins.
  void merge(const Value& contact_id, Dict& contact, const Dict& fresh);
  /// Adds a contact whose id is not in the table yet.
  void adopt(const Value& contact_id, const Value& contact);

 private:
  void note_all();
  void note(const Value& contact);
  const Dict* look_for(const Value& unit_id) const;

  Dict contacts_;
  bool is_noted_ = false;
  bool is_odd_ = false;  // something in the table is no contact
  HashIndex notes_;      // where a contact on a unit may stand, by the hash of the unit's id
  std::size_t end_ = 0;  // behind the last place that was noted
};

}  // namespace tessra
