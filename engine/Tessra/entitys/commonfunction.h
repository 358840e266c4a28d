#pragma once

#include <cstdint>
#include <string>

#include "Tessra/base/value.h"

namespace tessra::cf {

/// What a merge does with a list or dictionary of the record that it adopts as a whole.
enum class Adopt : std::uint8_t { shared, copied };

/// The value as a merge adopts it. Copies share texts.
inline Value adopted(const Value& fresh, Adopt adopt) {
  const bool is_copied = adopt == Adopt::copied && (fresh.is_dict() || fresh.is_list());
  return is_copied ? fresh.deep_copy(Texts::shared) : fresh;
}

/// An id or name as text, shared if it already is one: the key type of the model's tables.
inline Value text_of(const Value& id) { return id.is_string() ? id : Value(id.to_text()); }

/// Merges `fresh` into `old` in place and returns `old`: entries that only `old` has stay, entries of `fresh` win, and
/// where both hold a dictionary the two are merged in the same way. Merging a dictionary into itself changes nothing.
Dict update_dict(Dict old, const Dict& fresh);
/// The same, with a choice of what is adopted.
void merge_dict(Dict old, const Dict& fresh, Adopt adopt);

/// The scenario clock as text, UTC, "%Y-%m-%d %H:%M:%S"; whole seconds rounded down. `milliseconds` counts from 1970.
/// With `with_date` false only the time of day is given.
std::string get_scenario_time(std::int64_t milliseconds, bool with_date);

}  // namespace tessra::cf
