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

/// What `find` knows under each key of a table: pointers to elements or values, or null.
template <class Find>
auto find_each(const Dict& table, Find&& find) {
  std::vector<decltype(find(std::declval<const Value&>()))> found;
  found.reserve(table.size());
  for (auto [key, entry] : table) {
    found.push_back(find(key));
    __builtin_prefetch(found.back());
  }
  return found;
}

/// Visits the entries of a table, each with what was found under its key: `visit(key, entry, found)`. A visit must not
/// end what was found for later ones.
template <class Table, class Found, class Visit>
void visit_found(Table& table, const std::vector<Found>& found, Visit&& visit) {
  constexpr std::size_t kFar = 6;
  constexpr std::size_t kNear = 2;
  const auto later = [&found](std::size_t at) { return at < found.size() ? fields_of(found[at]) : nullptr; };
  std::size_t at = 0;
  for (auto [key, entry] : table) {
    if (const Dict* fields = later(at + kFar)) fields->fetch();
    if (const Dict* fields = later(at + kNear)) fields->fetch_inside();
    visit(key, entry, found[at++]);
  }
}

}  // namespace tessra
