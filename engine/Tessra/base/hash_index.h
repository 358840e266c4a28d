#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace tessra {

/// Maps hashes to the places of entries in a list: an open-addressing table, at most half full. It does not know the
/// entries; the caller compares those with equal hashes. Single places are never removed.
class HashIndex {
 public:
  static constexpr std::uint32_t kNowhere = UINT32_MAX;

  /// Whether it holds no places and no memory.
  bool empty() const { return slots_.empty(); }
  /// Removes all places and reserves room for this many.
  void reset(std::size_t places) {
    slots_.assign(std::bit_ceil(std::max<std::size_t>(2 * places, 16)), Slot{});
    count_ = 0;
  }
  /// Removes all places and frees the memory.
  void release() {
    slots_ = {};
    count_ = 0;
  }

  /// Adds the place of an entry with this hash.
  void add(std::uint32_t hash, std::uint32_t place) {
    if (2 * (count_ + 1) > slots_.size()) grow();
    ++count_;
    put({hash, place + 1});
  }

  /// The place for which `is(place)` holds, among those with this hash; `kNowhere` when there is none.
  template <class Is>
  std::uint32_t find(std::uint32_t hash, Is&& is) const {
    if (slots_.empty()) return kNowhere;
    for (std::size_t at = hash & mask(); slots_[at].number != 0; at = (at + 1) & mask()) {
      if (slots_[at].hash == hash && is(slots_[at].number - 1)) return slots_[at].number - 1;
    }
    return kNowhere;
  }

  /// Visits all places with this hash.
  template <class Visit>
  void for_each(std::uint32_t hash, Visit&& visit) const {
    find(hash, [&](std::uint32_t place) {
      visit(place);
      return false;
    });
  }

  // For batched lookups; the index must not be empty.

  /// Prefetches the first slot that `find` probes.
  void fetch(std::uint32_t hash) const { __builtin_prefetch(&slots_[hash & mask()]); }
  /// The place in the first slot that `find` probes, usually the one it returns, or `kNowhere`.
  std::uint32_t likely(std::uint32_t hash) const { return slots_[hash & mask()].number - 1; }

 private:
  struct Slot {
    std::uint32_t hash = 0;
    std::uint32_t number = 0;  // place + 1; 0 for an empty slot
  };

  std::size_t mask() const { return slots_.size() - 1; }
  void put(Slot slot) {
    std::size_t at = slot.hash & mask();
    while (slots_[at].number != 0) at = (at + 1) & mask();
    slots_[at] = slot;
  }
  void grow() {
    for (const Slot& slot : std::exchange(slots_, std::vector<Slot>(std::max<std::size_t>(2 * slots_.size(), 16)))) {
      if (slot.number != 0) put(slot);
    }
  }

  std::vector<Slot> slots_;
  std::size_t count_ = 0;
};

}  // namespace tessra
