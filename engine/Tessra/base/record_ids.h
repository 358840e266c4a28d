#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "Tessra/base/hash_index.h"
#include "Tessra/base/value.h"

namespace tessra {

/// The long keys of the record that is being read which are not known as names: ids, and names that may still be
/// learned. An id stands in several tables of a record; all of them share its text, and know its hash.
class RecordIds {
 public:
  struct Id {
    Value text;
    bool may_be_name = false;
    std::uint64_t last_with = 0;  // the number of the last dictionary that was found to have it
  };

  /// What is known of this text, or null. Valid until the next one is added.
  Id* find(std::string_view text, std::uint32_t hash) {
    const std::uint32_t at =
        index_.find(hash, [&](std::uint32_t place) { return ids_[place].text.long_text() == text; });
    return at != HashIndex::kNowhere ? &ids_[at] : nullptr;
  }
  /// Adds one that is not there; longer than `Value::kShortText`.
  Id& add(std::string_view text, std::uint32_t hash, bool may_be_name);
  /// Keeps room for a record of as many ids.
  void clear();

 private:
  std::vector<Id> ids_;
  HashIndex index_;
};

}  // namespace tessra
