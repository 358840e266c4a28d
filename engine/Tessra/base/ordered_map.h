#pragma once

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "Tessra/base/error.h"
#include "Tessra/base/hash_index.h"
#include "Tessra/base/name.h"
#include "Tessra/base/value.h"

namespace tessra {

/// Map from text to `T` that keeps insertion order: sides, players, elements and side tables. Overwriting keeps the
/// place, erasing keeps the order of the rest. Pointers from `find` are valid until the next insertion.
///
/// Entries are stored in a vector in insertion order. Small maps are searched linearly, larger ones through a hash
/// index. Erasing marks an entry dead and moves nothing; an insertion that finds too many dead entries removes them.
template <class T>
class OrderedMap {
 public:
  OrderedMap() = default;
  OrderedMap(std::initializer_list<std::pair<std::string_view, T>> entries) {
    for (const auto& [key, value] : entries) set(key, value);
  }

  std::size_t size() const { return live_; }
  bool empty() const { return size() == 0; }

  bool contains(std::string_view key) const { return find(key) != nullptr; }
  const T* find(std::string_view key) const { return find(key, hash_text(key)); }
  /// The same with the precomputed `hash_text` of the key.
  const T* find(std::string_view key, std::uint32_t hash) const {
    const Entry* entry = find_entry(key, hash);
    return entry != nullptr ? &entry->value : nullptr;
  }
  T* find(std::string_view key) { return const_cast<T*>(std::as_const(*this).find(key)); }

  /// A key with its `hash_text`.
  struct Sought {
    std::string_view key;
    std::uint32_t hash;
  };
  /// `find` for each key. The entries of a large map are scattered in memory; in a batch the cache misses overlap.
  std::vector<const T*> find_all(std::span<const Sought> keys) const;

  /// Throws `KeyError` naming the key when it is absent.
  const T& at(std::string_view key) const {
    const T* value = find(key);
    if (value == nullptr) throw KeyError("missing key '" + std::string(key) + "'");
    return *value;
  }
  T& at(std::string_view key) { return const_cast<T&>(std::as_const(*this).at(key)); }

  /// Inserts at the end or replaces in place. The key is a text; it is shared with the caller's value.
  T& set(Value key, T value);
  /// Removes the entry; its value is destroyed at once. Returns false when there is none.
  bool erase(std::string_view key);
  void clear();

  /// One entry of an iteration. Its key is valid as long as the entry.
  template <bool kConst>
  struct Item {
    std::string_view key;
    std::conditional_t<kConst, const T, T>& value;
  };
  template <bool kConst>
  class Iterator;

  /// `for (auto [key, value] : map)`, in insertion order. Entries may be erased during the loop, not added.
  Iterator<false> begin() { return {this, 0}; }
  Iterator<false> end() { return {this, entries_.size()}; }
  Iterator<true> begin() const { return {this, 0}; }
  Iterator<true> end() const { return {this, entries_.size()}; }

 private:
  struct Entry {
    Value key;
    T value;
    std::uint32_t hash;
    bool live;
  };
  static constexpr std::size_t kScanLimit = 8;

  /// Prefetches what `find` of these keys reads.
  void fetch(std::span<const Sought> keys) const;
  const Entry* find_entry(std::string_view key, std::uint32_t hash) const;
  void make_room();
  void squeeze();
  void make_index(std::size_t entries);

  std::vector<Entry> entries_;
  HashIndex index_;  // empty while the map is small
  std::size_t live_ = 0;
};

template <class T>
template <bool kConst>
class OrderedMap<T>::Iterator {
 public:
  using Map = std::conditional_t<kConst, const OrderedMap, OrderedMap>;
  using iterator_category = std::input_iterator_tag;
  using value_type = Item<kConst>;
  using difference_type = std::ptrdiff_t;
  using reference = Item<kConst>;
  using pointer = void;

  Iterator(Map* map, std::size_t at) : map_(map), at_(at) { skip_dead(); }
  Item<kConst> operator*() const { return {map_->entries_[at_].key.as_text(), map_->entries_[at_].value}; }
  Iterator& operator++() {
    ++at_;
    skip_dead();
    return *this;
  }
  /// The end is wherever the entries end now, even if some were removed during the loop.
  friend bool operator==(const Iterator& a, const Iterator& b) {
    return (a.at_end() && b.at_end()) || (a.at_ == b.at_ && !a.at_end() && !b.at_end());
  }

 private:
  bool at_end() const { return at_ >= map_->entries_.size(); }
  void skip_dead() {
    while (!at_end() && !map_->entries_[at_].live) ++at_;
  }
  Map* map_;
  std::size_t at_;
};

template <class T>
T& OrderedMap<T>::set(Value key, T value) {
  const std::string_view text = key.as_text();
  const std::uint32_t hash = KeyRef(key).hash();
  if (const Entry* existing = find_entry(text, hash)) return const_cast<Entry*>(existing)->value = std::move(value);
  make_room();
  entries_.push_back(Entry{std::move(key), std::move(value), hash, true});
  ++live_;
  if (!index_.empty()) index_.add(hash, static_cast<std::uint32_t>(entries_.size() - 1));
  return entries_.back().value;
}

template <class T>
bool OrderedMap<T>::erase(std::string_view key) {
  auto* entry = const_cast<Entry*>(find_entry(key, hash_text(key)));
  if (entry == nullptr) return false;
  entry->live = false;
  --live_;
  // Destroyed last: the value's destructor may access this map.
  [[maybe_unused]] const Value gone_key = std::exchange(entry->key, Value(""));
  [[maybe_unused]] const T gone = std::exchange(entry->value, T());
  return true;
}

template <class T>
void OrderedMap<T>::clear() {
  // Destroyed last, as in `erase`.
  const std::vector<Entry> gone = std::exchange(entries_, {});
  index_.release();
  live_ = 0;
}

template <class T>
const typename OrderedMap<T>::Entry* OrderedMap<T>::find_entry(std::string_view key, std::uint32_t hash) const {
  if (index_.empty()) {
    for (const Entry& entry : entries_) {
      if (entry.hash == hash && entry.live && entry.key.as_text() == key) return &entry;
    }
    return nullptr;
  }
  const std::uint32_t at = index_.find(
      hash, [&](std::uint32_t place) { return entries_[place].live && entries_[place].key.as_text() == key; });
  return at != HashIndex::kNowhere ? &entries_[at] : nullptr;
}

template <class T>
std::vector<const T*> OrderedMap<T>::find_all(std::span<const Sought> keys) const {
  constexpr std::size_t kTogether = 16;
  std::vector<const T*> found;
  found.reserve(keys.size());
  for (; !keys.empty(); keys = keys.subspan(std::min(kTogether, keys.size()))) {
    const auto some = keys.first(std::min(kTogether, keys.size()));
    fetch(some);
    for (const auto& [key, hash] : some) found.push_back(find(key, hash));
  }
  return found;
}

template <class T>
void OrderedMap<T>::fetch(std::span<const Sought> keys) const {
  if (index_.empty()) return;
  // Each stage for all keys before the next, since it depends on the loads of the one before: slots, entries, key
  // texts.
  for (const Sought& sought : keys) index_.fetch(sought.hash);
  const auto for_each_entry = [&](auto&& visit) {
    for (const Sought& sought : keys) {
      const std::uint32_t at = index_.likely(sought.hash);
      if (at != HashIndex::kNowhere) visit(entries_[at]);
    }
  };
  for_each_entry([](const Entry& entry) { __builtin_prefetch(&entry); });
  for_each_entry([](const Entry& entry) { __builtin_prefetch(entry.key.as_text().data()); });
}

template <class T>
void OrderedMap<T>::make_room() {
  if (entries_.size() - live_ > live_ / 2 + kScanLimit) squeeze();
  if (entries_.size() == kScanLimit && index_.empty()) make_index(entries_.size() + 1);
}

template <class T>
void OrderedMap<T>::squeeze() {
  std::erase_if(entries_, [](const Entry& entry) { return !entry.live; });
  if (!index_.empty()) make_index(entries_.size() + 1);
}

template <class T>
void OrderedMap<T>::make_index(std::size_t entries) {
  index_.reset(entries);
  for (std::size_t at = 0; at < entries_.size(); ++at) index_.add(entries_[at].hash, static_cast<std::uint32_t>(at));
}

}  // namespace tessra
