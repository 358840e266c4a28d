#include "Tessra/base/record_ids.h"

namespace tessra {

RecordIds::Id& RecordIds::add(std::string_view text, std::uint32_t hash, bool may_be_name) {
  const auto place = static_cast<std::uint32_t>(ids_.size());
  ids_.push_back({.text = Value(text, hash), .may_be_name = may_be_name});
  index_.add(hash, place);
  return come_to(place);
}

void RecordIds::clear() {
  if (ids_.empty()) return;              // the room that the last record needed stays
  constexpr std::size_t kKept = 65'536;  // a thread does not keep room for the largest record it ever read
  index_.reset(std::min(ids_.size(), kKept));
  ids_.clear();
  last_ = 0;
  if (ids_.capacity() > kKept) ids_ = {};
}

}  // namespace tessra
