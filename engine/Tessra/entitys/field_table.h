#pragma once

#include <initializer_list>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "Tessra/base/value.h"

namespace tessra {

/// A service field that an element class declares.
struct Field {
  std::string_view name;
  Kind kind;
  /// Fields with a default can be read before they have arrived: as none, false, zero or empty.
  bool has_default = true;
};

/// The fields a class declares: its own and those of the table it extends. Tables live as long as the process.
class FieldTable {
 public:
  explicit FieldTable(std::initializer_list<Field> fields) : FieldTable(nullptr, fields) {}
  FieldTable(const FieldTable* base, std::initializer_list<Field> fields);

  /// The field, or null if the class does not declare it.
  const Field* find(std::string_view name) const;
  /// In declaration order, those of the base first.
  const std::vector<Field>& fields() const { return fields_; }

 private:
  std::vector<Field> fields_;
  std::unordered_map<std::string_view, std::size_t> places_;
};

/// Initial value of a field of this kind; lists and dictionaries are newly created.
Value default_value(Kind kind);

}  // namespace tessra
