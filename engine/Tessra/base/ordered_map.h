#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

#include "Tessra/base/error.h"
#include "Tessra/base/name.h"
#include "Tessra/base/ordered_table.h"

namespace tessra {

/// Map from text to `T` that keeps insertion order: sides, players, elements and side tables. Overwriting keeps the
/// place, erasing keeps the order of the rest. Pointers from `find` are valid until the next insertion.
template <class T>
class OrderedMap {
  struct Policy {
    static bool equal(const std::string& key, std::string_view ref) { return key == ref; }
  };
  using Table = OrderedTable<std::string, T, Policy>;

 public:
  OrderedMap() = default;
  OrderedMap(std::initializer_list<std::pair<std::string_view, T>> entries) {
    for (const auto& [key, value] : entries) set(key, value);
  }

  std::size_t size() const { return table_.size(); }
  bool empty() const { return size() == 0; }

  bool contains(std::string_view key) const { return find(key) != nullptr; }
  const T* find(std::string_view key) const { return table_.find(key, hash(key)); }
  /// The same for who knows the key's `hash_text` already.
  const T* find(std::string_view key, std::uint32_t key_hash) const { return table_.find(key, key_hash); }
  T* find(std::string_view key) { return table_.find(key, hash(key)); }

  /// Throws `KeyError` naming the key when it is absent.
  const T& at(std::string_view key) const {
    const T* value = find(key);
    if (value == nullptr) throw KeyError("missing key '" + std::string(key) + "'");
    return *value;
  }
  T& at(std::string_view key) { return const_cast<T&>(std::as_const(*this).at(key)); }

  /// Inserts at the end or replaces in place.
  T& set(std::string_view key, T value) {
    const std::uint32_t key_hash = hash(key);
    if (T* existing = table_.find(key, key_hash)) return *existing = std::move(value);
    return table_.append(std::string(key), key_hash, std::move(value));
  }

  bool erase(std::string_view key) { return table_.erase(key, hash(key)); }
  void clear() { table_.clear(); }

  /// `for (auto [key, value] : map)`, in insertion order. Entries may be erased on the way, not added.
  auto begin() { return table_.begin(); }
  auto end() { return table_.end(); }
  auto begin() const { return table_.begin(); }
  auto end() const { return table_.end(); }

 private:
  static std::uint32_t hash(std::string_view key) { return hash_text(key); }

  Table table_;
};

}  // namespace tessra
