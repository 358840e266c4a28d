#include "Tessra/base/record_ids.h"

namespace tessra {

RecordIds::Id& RecordIds::find_or_add(const Value& text, std::uint32_t hash) {
  const auto is_it = [&](std::uint32_t place) { return ids_[place].text.long_text() == text.long_text(); };
  const std::uint32_t known = index_.find(hash, is_it);
  if (known != HashIndex::kNowhere) return come_to(known);
  const auto place = static_cast<std::uint32_t>(ids_.size());
  ids_.push_back({.text = text});
  index_.add(hash, place);
  return come_to(place);
}

void RecordIds::clear() {
  if (ids_.empty()) return;              // keeps the room of the last record that had ids
  constexpr std::size_t kKept = 65'536;  // a thread need not keep the room of the largest record it ever read
  index_.reset(std::min(ids_.size(), kKept));
  ids_.clear();
  last_ = 0;
  if (ids_.capacity() > kKept) ids_ = {};
}

}  // namespace tessra
