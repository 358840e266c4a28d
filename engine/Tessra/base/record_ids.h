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
    bool may_be_name = false;
  };

  /// What is known of this text, or null. Valid until the next one is added.
  Id* find(std::string_view text, std::uint32_t hash) {
    if (ids_.empty()) return nullptr;
    const auto is_it = [&](std::uint32_t place) { return ids_[place].text.long_text() == text; };
    const std::uint32_t next = ids_[last_].next;
    if (ids_[next].text.known_hash() == hash && is_it(next)) return &come_to(next);
    const std::uint32_t at = index_.find(hash, is_it);
    return at != HashIndex::kNowhere ? &come_to(at) : nullptr;
  }
  /// Adds one that is not there; longer than `Value::kShortText`.
  Id& add(std::string_view text, std::uint32_t hash, bool may_be_name);
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
