#pragma once

// Walking a record's table beside what the model holds. What a large model holds lies far apart in memory, so all of it
// is found first, and each piece is fetched while those before it are worked on.

#include <utility>
#include <vector>

#include "Tessra/base/value.h"
#include "Tessra/entitys/element.h"

namespace tessra {

/// The fields of what an update may be merged into; null when there is nothing, or it has none.
inline const Dict* fields_of(const Element* element) { return element != nullptr ? &element->attributes() : nullptr; }
inline const Dict* fields_of(const Value* record) { return record != nullptr ? record->if_dict() : nullptr; }

/// Visits the entries of a table, each with what `find` knows under its key: `visit(key, entry, found)`, where `found`
/// is a pointer to an element or a value, or null. What a visit adds is found by later ones; a visit must not end what
/// was there for them before.
template <class Table, class Find, class Visit>
void visit_found(Table& table, Find&& find, Visit&& visit) {
  constexpr std::size_t kFar = 6;
  constexpr std::size_t kNear = 2;
  std::vector<decltype(find(std::declval<const Value&>()))> found;
  found.reserve(table.size());
  for (auto [key, entry] : table) {
    found.push_back(find(key));
    __builtin_prefetch(found.back());
  }
  const auto later = [&found](std::size_t at) { return at < found.size() ? fields_of(found[at]) : nullptr; };
  std::size_t at = 0;
  for (auto [key, entry] : table) {
    if (const Dict* fields = later(at + kFar)) fields->fetch();
    if (const Dict* fields = later(at + kNear)) fields->fetch_inside();
    const auto known = found[at++];
    visit(key, entry, known != nullptr ? known : find(key));
  }
}

}  // namespace tessra
