#pragma once

#include <initializer_list>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "Tessra/base/value.h"

namespace tessra {

/// One service field that an element class knows.
struct Field {
  std::string_view name;
  Kind kind;
  /// Fields with a default can be read before they arrived: as none, false, zero, or empty.
  bool has_default = true;
};

/// The fields a class knows: its own and those of the table it extends. Tables live as long as the process.
class FieldTable {
 public:
  explicit FieldTable(std::initializer_list<Field> fields) : FieldTable(nullptr, fields) {}
  FieldTable(const FieldTable* base, std::initializer_list<Field> fields);

  /// The field, or null when the class does not know it.
  const Field* find(std::string_view name) const;
  /// In the order of the tables, the base's first.
  const std::vector<Field>& fields() const { return fields_; }

 private:
  std::vector<Field> fields_;
  std::unordered_map<std::string_view, std::size_t> places_;
};

/// The value a field of this kind has before anything arrived; lists and dictionaries are new ones.
Value default_value(Kind kind);

}  // namespace tessra
