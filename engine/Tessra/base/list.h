#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>

#include "Tessra/base/tag.h"

namespace tessra {

class Value;
struct Row;

/// Handle to a list of values. Copying the handle shares the list; `is` asks whether two handles refer to one list,
/// `==` whether two lists hold equal values. A moved-from handle is a new empty list.
class List {
 public:
  /// A new empty list.
  List() noexcept : List(nullptr) {}
  List(std::initializer_list<Value> values);
  List(const List& other);
  List(List&& other) noexcept : List(other.held()) { other.hold(nullptr); }
  List& operator=(List other) noexcept;
  ~List();

  std::size_t size() const;
  bool empty() const { return size() == 0; }

  /// Throws `KeyError` naming the index when it is out of range.
  const Value& at(std::size_t index) const;
  Value& at(std::size_t index);

  void push_back(Value value);
  void insert_front(Value value);
  /// Appends the other list's values; a list may extend itself.
  void extend(const List& other);
  /// Keeps only the first `count` values.
  void truncate(std::size_t count);
  void reserve(std::size_t count);

  /// Pointers, valid until the list's size changes.
  const Value* begin() const;
  const Value* end() const;
  Value* begin();
  Value* end();

  /// A new list that shares the values' lists and dictionaries.
  List shallow_copy() const;

  bool is(const List& other) const { return held() != nullptr ? bits_ == other.bits_ : this == &other; }
  friend bool operator==(const List& a, const List& b);

 private:
  friend class DeepCopy;
  friend class TreeBuilder;
  friend class Value;
  explicit List(Row* row) : bits_(bits_of(row)) {}
  static std::uint64_t bits_of(Row* row) { return detail::bits_of(detail::Tag::list, row); }
  /// Null for an empty list that no other handle shares.
  Row* held() const { return detail::held_by<Row>(bits_); }
  void hold(Row* row) const { bits_ = bits_of(row); }
  /// The row to write to or share, created on first use.
  Row& row() const { return held() != nullptr ? *held() : make_row(); }
  Row& make_row() const;
  static bool equal(const List& a, const List& b, int depth);

  mutable std::uint64_t bits_;  // address of the row, encoded as in a `Value` that holds this handle
};

}  // namespace tessra
