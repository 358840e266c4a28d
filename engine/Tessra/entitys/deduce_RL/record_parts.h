#pragma once

#include <optional>
#include <utility>
#include <vector>

#include "Tessra/base/value.h"
#include "Tessra/entitys/element.h"
#include "Tessra/entitys/global_util.h"

// What initial and update situations have in common, for the sources of the engine that read them.

namespace tessra {

/// The field that the engine adds to what it builds elements from. A name, so that all elements of a kind share their
/// keys.
extern const Name kId;

/// A part of a record, or a new empty dictionary when it is absent or null.
Dict part_or_empty(const Dict& record, const KeyRef& key);

/// The fields of what an update may be merged into; null when there is nothing, or it has none.
inline const Dict* fields_of(const Element* element) { return element != nullptr ? &element->attributes() : nullptr; }
inline const Dict* fields_of(const Value* record) { return record != nullptr ? record->if_dict() : nullptr; }

[[noreturn]] void fail_entry(const Value& key, const Value& entry);

/// The dictionary that stands under a key of a table. Another kind throws `KindError` naming the key.
template <class V>  // `Value` or `const Value`
auto& entry_dict(const Value& key, V& entry) {
  auto* dict = entry.if_dict();
  if (dict == nullptr) fail_entry(key, entry);
  return *dict;
}

/// Visits the entries of a table, each with what `find` knows under its key: `visit(key, entry, found)`, where `found`
/// is a pointer to an element or a value, or null. What a large model holds lies far apart in memory, so all of it is
/// found first, and each is fetched while those before it are visited. A visit must not end what was found for later
/// entries.
template <class Table, class Find, class Visit>
void visit_found(Table& table, Find&& find, Visit&& visit) {
  constexpr std::size_t kFar = 4;
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
    visit(key, entry, found[at++]);
  }
}

/// Whether a situation holds scenario information and at least one side.
bool has_sides(const Value& situation);

/// The scenario's descriptor of a side, or null.
const Dict* side_descriptor(const Dict& scenario_info, const KeyRef& side_id);

/// Merges a mission's inner record into the mission's info and drops it.
void flatten_mission(Dict& mission_info);

/// The element type of a `UnitType` code; none for a code that stands for no unit.
std::optional<ElementType> unit_element_type(const Value& code);

}  // namespace tessra
