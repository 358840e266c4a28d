#pragma once

// How lists and dictionaries lie in memory. For the sources of the value tree only: everybody else sees handles.

#include <cstdint>
#include <vector>

#include "Tessra/base/value.h"

namespace tessra {

struct List::Rep {
  std::uint32_t refs = 1;
  std::vector<Value> values;
};

struct Dict::Rep {
  std::uint32_t refs = 1;
  Table table;
};

inline bool DictKeyPolicy::equal(const Value& key, const KeyRef& ref) {
  switch (key.tag_) {
    case Value::Tag::name:
      // Two known names are equal only when they are one.
      if (ref.name_ != nullptr) return key.name_ == ref.name_;
      return ref.is_text_ && key.as_text() == ref.text_;
    case Value::Tag::string:
      return ref.is_text_ && key.as_text() == ref.text_;
    default:
      return !ref.is_text_ && key.integer_ == ref.integer_;
  }
}

}  // namespace tessra
