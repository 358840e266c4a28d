#pragma once

#include "Tessra/entitys/deduce_RL/record_parts.h"
#include "Tessra/entitys/element.h"
#include "Tessra/entitys/field_names.h"

// Deletion entries: wherever the service reports deletions, a record carries `mapdel`, a dictionary from a name to an
// entry whose `v` lists the ids to remove. Entries without `v` are ignored.

namespace tessra {

/// Calls `visit(name, ids)` for every entry of the record's `mapdel` that has `v`.
template <class Visit>
void for_each_deletion(const Dict& record, Visit&& visit) {
  const Value* deletions = record.find(names::kMapdel);
  if (deletions == nullptr || !deletions->truthy()) return;
  for (auto [name, entry] : record.at_dict(names::kMapdel)) {
    if (const List* ids = entry_dict(name, entry).find_list("v")) visit(name, *ids);
  }
}

/// An element's table of this name, or null when it is missing or empty. Unlike `get_dict` it stores no default.
inline Dict* stored_table(Element& element, const KeyRef& name) {
  const Value* value = element.attributes().find(name);
  return value != nullptr && value->truthy() ? element.attributes().find_dict(name) : nullptr;
}

/// Removes these ids; missing ones are ignored.
inline void remove_ids(Dict table, const List& ids) {
  if (table.empty()) return;
  for (const Value& id : ids) table.erase(id);
}

/// Removes the ids from an element's table of this name.
inline void remove_stored(Element& element, const KeyRef& name, const List& ids) {
  if (const Dict* table = stored_table(element, name)) remove_ids(*table, ids);
}

/// For every deletion entry of the record whose name is a key of `table`: removes the ids from that inner dictionary.
inline void remove_inner_ids(Dict& table, const Dict& record) {
  for_each_deletion(record, [&](const Value& name, const List& ids) {
    if (Dict* inner = table.find_dict(name)) remove_ids(*inner, ids);
  });
}

}  // namespace tessra
