#pragma once

// Walking the tables of a record, alone or beside what the model holds. What they refer to lies far apart in memory, so
// each piece is fetched while those before it are worked on; what the model holds is found first, all at once.

#include <span>
#include <utility>
#include <vector>

#include "Tessra/base/value.h"
#include "Tessra/entitys/element.h"

namespace tessra {

/// The fields of what an update may be merged into; null when there is nothing, or it has none.
inline const Dict* fields_of(const Element* element) { return element != nullptr ? &element->attributes() : nullptr; }
inline const Dict* fields_of(const Value* record) { return record != nullptr ? record->if_dict() : nullptr; }

/// How many entries before its turn what an entry refers to is fetched.
constexpr std::size_t kNear = 2;

/// Visits the entries of a table: `visit(key, entry)`. A little before its turn each is shown to `fetch(key, entry)`.
template <class Table, class Fetch, class Visit>
void visit_fetched(Table& table, Fetch&& fetch, Visit&& visit) {
  auto later = table.begin();
  const auto end = table.end();
  for (std::size_t skipped = 0; skipped < kNear && later != end; ++skipped) ++later;
  for (auto [key, entry] : table) {
    if (later != end) {
      const auto [later_key, later_entry] = *later;
      fetch(later_key, later_entry);
      ++later;
    }
    visit(key, entry);
  }
}

/// Begins to fetch what a record in a table refers to.
inline void fetch_held(const Value& /*key*/, const Value& record) {
  if (const Dict* fields = record.if_dict()) fields->fetch_inside();
}

/// One entry of a table that is walked.
struct Visited {
  const Value& key;
  const Value& entry;
};

/// Visits the entries of a table, some at a time: `visit(key, entry)`. Before these, all of them are shown to
/// `fetch(some)`, for what must be looked up to know what is to be fetched.
template <class Fetch, class Visit>
void visit_together(const Dict& table, Fetch&& fetch, Visit&& visit) {
  constexpr std::size_t kTogether = 16;
  std::vector<Visited> some;
  const auto visit_some = [&] {
    fetch(std::span<const Visited>(some));
    for (const auto& [key, entry] : some) visit(key, entry);
    some.clear();
  };
  for (auto [key, entry] : table) {
    some.push_back({key, entry});
    if (some.size() == kTogether) visit_some();
  }
  visit_some();
}

/// Visits the entries of a table, each with what was found under its key: `visit(key, entry, found)`. A visit must not
/// end what was found for later ones.
template <class Table, class Found, class Visit>
void visit_found(Table& table, const std::vector<Found>& found, Visit&& visit) {
  constexpr std::size_t kFar = 6;
  const auto later = [&found](std::size_t at) { return at < found.size() ? fields_of(found[at]) : nullptr; };
  std::size_t at = 0;
  visit_fetched(table, fetch_held, [&](const Value& key, auto& entry) {
    if (const Dict* fields = later(at + kFar)) fields->fetch();
    if (const Dict* fields = later(at + kNear)) fields->fetch_inside();
    visit(key, entry, found[at++]);
  });
}

}  // namespace tessra
