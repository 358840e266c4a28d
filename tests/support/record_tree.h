#pragma once

#include <initializer_list>
#include <string_view>

#include "Tessra/base/value.h"

namespace tessra::testing {

/// The dictionary at a path of keys; what is missing on the way is made.
inline Dict branch(Dict root, std::initializer_list<std::string_view> path) {
  for (const std::string_view key : path) {
    Value& next = root[key];
    if (!next.is_dict()) next = Dict();
    const Dict inner = next.as_dict();
    root = inner;
  }
  return root;
}

/// Takes all deletions out of a record.
inline void strip_deletions(Value& value) {
  if (Dict* dict = value.if_dict()) {
    dict->erase("mapdel");
    for (auto [key, entry] : *dict) strip_deletions(entry);
  } else if (value.is_list()) {
    for (Value& entry : value.as_list()) strip_deletions(entry);
  }
}

}  // namespace tessra::testing
