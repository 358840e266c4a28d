#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "Tessra/base/hash_index.h"
#include "Tessra/base/value.h"

namespace tessra {

/// The long keys of the record that is being read which are not known as names: ids, and names that may still be
/// learned. An id stands in several tables of a record; all of them share its text, and know its hash. The tables
/// mostly have the ids in one order, so each is looked for where it would be if it came after the same one as before.
class RecordIds {
 public:
  struct Id {
    Value text;
    std::uint64_t last_with = 0;  // the number of the last dictionary that was found to have it
    std::uint32_t next = 0;       // the place of the one that came after it
  };

  /// The id that is expected now, if it is this text, or null. Valid until the next one is added.
  Id* find_next(std::string_view text, std::uint32_t hash) {
    if (ids_.empty()) return nullptr;
    const std::uint32_t next = ids_[last_].next;
    return ids_[next].text.known_hash() == hash && ids_[next].text.long_text() == text ? &come_to(next) : nullptr;
  }
  /// Begins to fetch what `find_or_add` looks at.
  void fetch(std::uint32_t hash) const {
    if (!index_.empty()) index_.fetch(hash);
  }
  /// What is known of a text with bytes of its own, from now on if nothing was. Valid until the next one is added.
  Id& find_or_add(const Value& text, std::uint32_t hash);
  /// Keeps room for a record of as many ids.
  void clear();

 private:
  Id& come_to(std::uint32_t place) {
    ids_[last_].next = place;
    last_ = place;
    __builtin_prefetch(ids_[ids_[place].next].text.string());  // which is going to be compared
    return ids_[place];
  }

  std::vector<Id> ids_;
  HashIndex index_;
  std::uint32_t last_ = 0;  // the place of the one that was found or added last
};

}  // namespace tessra
