#pragma once

#include "Tessra/base/value.h"

namespace tessra {

/// A side's first contact on each unit, in the order of its contact table, while friends share their contacts with it.
///
/// Asking for every contact of a friend by walking the table would take the product of both numbers. So when more than
/// a few questions come, the table is walked once and noted by unit. From then on the side's contacts must be changed
/// through `merge` and `adopt` alone, which keep the notes true. What can no longer be told from the notes (which
/// contact is first after one has turned to another unit) is forgotten and looked for when it is asked again.
class FirstContacts {
 public:
  /// `contacts` is the side's own table, shared.
  explicit FirstContacts(Dict contacts) : contacts_(std::move(contacts)) {}

  const Dict& contacts() const { return contacts_; }

  /// The first contact whose `ActualUnitID` equals this value, or null.
  const Dict* on(const Value& unit_id);
  /// Merges fresh data into a contact of the table, shallowly; the data wins.
  void merge(Dict& contact, const Dict& fresh);
  /// Adds a contact whose id the table does not hold.
  void adopt(const Value& contact_id, const Value& contact);

 private:
  void note_all();
  const Dict* look_for(const Value& unit_id) const;

  Dict contacts_;
  int asked_ = 0;
  bool noted_ = false;
  Dict first_;      // unit id → its first contact
  Dict forgotten_;  // unit ids to be looked for
};

}  // namespace tessra
