#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "Tessra/base/hash_index.h"
#include "Tessra/base/value.h"

namespace tessra {

/// The long keys of the record being read that are not interned names: ids, and names that may still be learned. An id
/// occurs in several tables of a record; all of them share one text with a known hash. The tables usually list the ids
/// in the same order, so the id that followed the last one before is tried first.
class RecordIds {
 public:
  struct Id {
    Value text;
    std::uint64_t last_with = 0;  // number of the last dictionary known to have it
    std::uint32_t next = 0;       // place of the id that followed it
  };

  /// The expected next id if it has this text, otherwise null. Valid until the next one is added.
  Id* find_next(std::string_view text, std::uint32_t hash) {
    if (ids_.empty()) return nullptr;
    const std::uint32_t next = ids_[last_].next;
    return ids_[next].text.known_hash() == hash && ids_[next].text.long_text() == text ? &come_to(next) : nullptr;
  }
  /// Prefetches what `find_or_add` reads.
  void fetch(std::uint32_t hash) const {
    if (!index_.empty()) index_.fetch(hash);
  }
  /// The entry of a long text, added if new. Valid until the next one is added.
  Id& find_or_add(const Value& text, std::uint32_t hash);
  /// Removes all ids but keeps the room for as many.
  void clear();

 private:
  Id& come_to(std::uint32_t place) {
    ids_[last_].next = place;
    last_ = place;
    return ids_[place];
  }

  std::vector<Id> ids_;
  HashIndex index_;
  std::uint32_t last_ = 0;  // place of the id found or added last
};

}  // namespace tessra
