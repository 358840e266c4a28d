#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace tessra {

/// Where the entries of a list stand, by their hashes: an open-addressing table, at most half full. It knows nothing of
/// the entries; who looks for one says which of those with its hash is meant. Places are never taken back one by one.
class HashIndex {
 public:
  static constexpr std::uint32_t kNowhere = UINT32_MAX;

  /// Whether it holds nothing, and no memory.
  bool empty() const { return slots_.empty(); }
  /// Forgets all places, and takes the room that so many need.
  void reset(std::size_t places) {
    slots_.assign(std::bit_ceil(std::max<std::size_t>(2 * places, 16)), Slot{});
    count_ = 0;
  }
  /// Forgets all places and gives back the memory.
  void release() {
    slots_ = {};
    count_ = 0;
  }

  /// Notes that an entry with this hash stands there.
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

  // Of an index that is not empty, for who looks for many places at once.

  /// Begins to fetch what `find` looks at first.
  void fetch(std::uint32_t hash) const { __builtin_prefetch(&slots_[hash & mask()]); }
  /// The place that `find` looks at first, most often the one it finds, or `kNowhere`.
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
