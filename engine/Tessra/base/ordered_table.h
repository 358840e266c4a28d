#pragma once

#include <cstdint>
#include <iterator>
#include <type_traits>
#include <utility>
#include <vector>

namespace tessra {

/// Hash table that keeps insertion order: the table behind ordered maps.
///
/// Entries stand in a vector in the order of their insertion. Small tables are searched from front to back; larger
/// ones through an open-addressing index of entry numbers. Erasing marks an entry dead and moves nothing, so pointers
/// to values stay valid until the next insertion; dead entries are squeezed out when an insertion finds too many.
///
/// A `Policy` says when a stored key equals a key reference: `bool Policy::equal(const Key&, const Ref&)`. Hashes are
/// computed by the caller.
template <class Key, class T, class Policy>
class OrderedTable {
 public:
  struct Entry {
    Key key;
    T value;
    std::uint32_t hash;
    bool live;
  };

  std::size_t size() const { return live_; }

  /// All entries in the order of their insertion, dead ones included.
  const std::vector<Entry>& entries() const { return entries_; }

  template <class Ref>
  const T* find(const Ref& ref, std::uint32_t hash) const {
    const Entry* entry = find_entry(ref, hash);
    return entry != nullptr ? &entry->value : nullptr;
  }
  template <class Ref>
  T* find(const Ref& ref, std::uint32_t hash) {
    return const_cast<T*>(std::as_const(*this).find(ref, hash));
  }

  /// Adds an entry whose key is known to be absent.
  T& append(Key key, std::uint32_t hash, T value) {
    make_room();
    entries_.push_back(Entry{std::move(key), std::move(value), hash, true});
    ++live_;
    if (!index_.empty()) link(hash, static_cast<std::uint32_t>(entries_.size()));
    return entries_.back().value;
  }

  /// Removes the entry; its value is destroyed at once. Returns false when there is none.
  template <class Ref>
  bool erase(const Ref& ref, std::uint32_t hash) {
    auto* entry = const_cast<Entry*>(find_entry(ref, hash));
    if (entry == nullptr) return false;
    entry->live = false;
    --live_;
    // Destroyed last: the value's end may reach this table again.
    [[maybe_unused]] const Key key = std::exchange(entry->key, Key());
    [[maybe_unused]] const T value = std::exchange(entry->value, T());
    return true;
  }

  void clear() {
    // Destroyed last, as in `erase`.
    const std::vector<Entry> gone = std::exchange(entries_, {});
    index_.clear();
    live_ = 0;
  }

  void reserve(std::size_t count) {
    entries_.reserve(count);
    if (count > kScanLimit && index_.size() < 2 * count) rebuild_index(count);
  }

  /// One entry of a walk.
  template <bool kConst>
  struct Item {
    const Key& key;
    std::conditional_t<kConst, const T, T>& value;
  };

  /// Walks the live entries in insertion order: `for (auto [key, value] : table)`. Entries may be erased on the way.
  template <bool kConst>
  class Iterator {
   public:
    using Table = std::conditional_t<kConst, const OrderedTable, OrderedTable>;
    using iterator_category = std::input_iterator_tag;
    using value_type = Item<kConst>;
    using difference_type = std::ptrdiff_t;
    using reference = Item<kConst>;
    using pointer = void;

    Iterator(Table* table, std::size_t at) : table_(table), at_(at) { skip_dead(); }
    Item<kConst> operator*() const { return {table_->entries_[at_].key, table_->entries_[at_].value}; }
    Iterator& operator++() {
      ++at_;
      skip_dead();
      return *this;
    }
    /// Every walk ends where the entries end now, also when some were removed on the way.
    friend bool operator==(const Iterator& a, const Iterator& b) {
      return (a.at_end() && b.at_end()) || (a.at_ == b.at_ && !a.at_end() && !b.at_end());
    }

   private:
    bool at_end() const { return at_ >= table_->entries_.size(); }
    void skip_dead() {
      while (!at_end() && !table_->entries_[at_].live) ++at_;
    }
    Table* table_;
    std::size_t at_;
  };
  using iterator = Iterator<false>;
  using const_iterator = Iterator<true>;

  iterator begin() { return iterator(this, 0); }
  iterator end() { return iterator(this, entries_.size()); }
  const_iterator begin() const { return const_iterator(this, 0); }
  const_iterator end() const { return const_iterator(this, entries_.size()); }

 private:
  struct Slot {
    std::uint32_t hash;
    std::uint32_t number;  // of the entry, + 1; 0 for an empty slot
  };
  static constexpr std::size_t kScanLimit = 8;

  template <class Ref>
  const Entry* find_entry(const Ref& ref, std::uint32_t hash) const {
    if (index_.empty()) {
      for (const Entry& entry : entries_) {
        if (entry.hash == hash && entry.live && Policy::equal(entry.key, ref)) return &entry;
      }
      return nullptr;
    }
    const std::size_t mask = index_.size() - 1;
    for (std::size_t slot = hash & mask; index_[slot].number != 0; slot = (slot + 1) & mask) {
      if (index_[slot].hash != hash) continue;  // decided here, without a look at the entry
      const Entry& entry = entries_[index_[slot].number - 1];
      if (entry.live && Policy::equal(entry.key, ref)) return &entry;
    }
    return nullptr;
  }

  void make_room() {
    if (entries_.size() - live_ > live_ / 2 + kScanLimit) squeeze();
    const std::size_t wanted = entries_.size() + 1;
    if (wanted > kScanLimit && 2 * wanted > index_.size()) rebuild_index(2 * wanted);
  }

  void squeeze() {
    std::erase_if(entries_, [](const Entry& entry) { return !entry.live; });
    if (!index_.empty()) rebuild_index(entries_.size() + 1);
  }

  /// Makes an index for `count` entries at a load of at most a half and links what is there.
  void rebuild_index(std::size_t count) {
    std::size_t slots = 4 * kScanLimit;
    while (slots < 2 * count) slots *= 2;
    index_.assign(slots, Slot{0, 0});
    for (std::size_t i = 0; i < entries_.size(); ++i) link(entries_[i].hash, static_cast<std::uint32_t>(i + 1));
  }

  void link(std::uint32_t hash, std::uint32_t number) {
    const std::size_t mask = index_.size() - 1;
    std::size_t slot = hash & mask;
    while (index_[slot].number != 0) slot = (slot + 1) & mask;
    index_[slot] = {hash, number};
  }

  std::vector<Entry> entries_;
  std::vector<Slot> index_;  // empty while the table is small
  std::size_t live_ = 0;
};

}  // namespace tessra
