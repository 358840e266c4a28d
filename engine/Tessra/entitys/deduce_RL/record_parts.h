#pragma once

#include <functional>
#include <optional>

#include "Tessra/base/value.h"
#include "Tessra/entitys/global_util.h"

// Reading situation records: what initial and update situations have in common.

namespace tessra {

/// A part of a record, or a new empty dictionary when it is absent or null.
Dict part_or_empty(const Dict& record, const KeyRef& key);

[[noreturn]] void fail_entry(const Value& key, const Value& entry);

/// The dictionary that stands under a key of a table. Another kind throws `KindError` naming the key.
template <class V>  // `Value` or `const Value`
auto& entry_dict(const Value& key, V& entry) {
  auto* dict = entry.if_dict();
  if (dict == nullptr) fail_entry(key, entry);
  return *dict;
}

/// Whether a situation holds scenario information and at least one side.
bool has_sides(const Value& situation);

/// The scenario's descriptor of a side, or null.
const Dict* side_descriptor(const Dict& scenario_info, const KeyRef& side_id);

/// Takes the missions out of a side's basic part and visits each, its inner record merged into it.
void take_missions(Dict& side_part, const std::function<void(const Value& guid, Value& info, ElementType type)>& visit);

/// The element type of a `UnitType` code; none for a code that stands for no unit.
std::optional<ElementType> unit_element_type(const Value& code);

}  // namespace tessra
