#pragma once

// The keys of dictionaries. Part of value.h; include that instead.

#include <algorithm>
#include <atomic>
#include <cstdint>

#include "Tessra/base/pool.h"

namespace tessra {

/// The keys of one dictionary, or of many.
///
/// A service sends the same fields in the same order again and again, and elements are built alike. Dictionaries whose
/// keys are field names therefore share one set of keys per sequence of names: a *shape*. Like names, shapes live in
/// one table per process; they are never freed or changed, and are read without a lock. Adding a field to a dictionary
/// moves it to the next shape. Rare sequences get no shape, and the number of shapes is limited; such a dictionary has
/// its own keys, like every table of ids, and only it changes them.
///
/// The keys are stored right after the set, in the same memory block. Small sets are searched linearly, larger ones
/// through an open-addressing index that is built on first use.
class KeySet {
 public:
  static constexpr std::uint32_t kNowhere = UINT32_MAX;
  /// Maximum number of shapes, and of keys in one.
  static constexpr std::size_t kMaxShapes = 8192;
  static constexpr std::size_t kMaxShapeKeys = 128;

  KeySet(const KeySet&) = delete;
  KeySet& operator=(const KeySet&) = delete;

  /// The shape without keys.
  static const KeySet* none() { return &kNone; }
  /// The shape with these names, which must be distinct; null when there are too many names or shapes.
  static const KeySet* shape_of(const Value* names, std::size_t count);
  /// The same, but also null when this sequence of names is too rare to be worth a shape.
  static const KeySet* frequent_shape_of(const Value* names, std::size_t count);
  /// Own keys of a dictionary, starting with these, which must be distinct, with the given room.
  static KeySet* own(const Value* keys, std::size_t count, std::size_t room);
  /// Frees the keys if they are a dictionary's own.
  static void drop(const KeySet* keys) noexcept {
    if (!keys->is_shape_) keys->end();
  }

  bool is_shape() const { return is_shape_; }
  std::size_t count() const { return count_; }
  const Value& key(std::size_t at) const { return begin()[at]; }
  const Value* begin() const { return reinterpret_cast<const Value*>(this + 1); }
  /// All keys before this place are erased.
  std::size_t first() const { return first_; }
  /// Place of the key, or `kNowhere`.
  std::uint32_t find(const KeyRef& ref) const;

  // For batched lookups; the keys must have an index.

  bool is_indexed() const { return index_ != nullptr; }
  /// Prefetches the first slot that `find` probes.
  void fetch(const KeyRef& ref) const;
  /// The place in the first slot that `find` probes, usually the one it returns; `kNowhere` if the slot's hash differs.
  std::uint32_t likely(const KeyRef& ref) const;

  /// For a shape: place at or after `at` of the name with this text, whose first bytes are `front`, or `kNowhere`. Fast
  /// when the name is near `at`.
  std::uint32_t find_from(std::uint32_t at, const detail::Front& front, std::string_view text) const;
  /// For a shape: the shape with this new name added; null as for `frequent_shape_of`. For dictionaries that grow from
  /// nothing, as those of elements do, the first continuation of a shape is created at once: dictionaries that start
  /// alike usually continue alike.
  const KeySet* after(const Value& name) const;

  /// For a shape: the number of keys that dictionaries of this shape recently grew to, by insertions or merges.
  /// Reserving that much at once avoids moving the values later.
  std::size_t usual_room() const { return std::max<std::size_t>(count_, grows_to_.load(std::memory_order_relaxed)); }
  void note_growth(std::size_t count) const {
    if (0 < count_ && count <= 4 * std::size_t{count_} + 8) {
      grows_to_.store(static_cast<std::uint32_t>(count), std::memory_order_relaxed);
    }
  }

  // For a dictionary's own keys.

  /// Adds a new key. The keys may move; `keys` is the dictionary's pointer and is updated.
  static void append(KeySet*& keys, Value key);
  /// Removes the key but keeps its place.
  void erase(std::uint32_t at);

 private:
  friend class DeepCopy;
  struct Slot {
    std::uint32_t hash;
    std::uint32_t number;  // place + 1, 0 for an empty slot
  };
  struct Index {
    std::uint32_t mask;
    std::uint32_t unused;
    Slot slots[1];  // mask + 1
  };
  struct Shapes;
  static constexpr std::uint32_t kScanLimit = 8;
  static const KeySet kNone;
  /// Number of fingerprints compared at once.
  static constexpr std::size_t kPrints = 8;

  constexpr KeySet(std::size_t room, bool is_shape, bool is_grown)
      : room_(static_cast<std::uint32_t>(room)), is_shape_(is_shape), is_grown_(is_grown) {}
  static KeySet* make(std::size_t room, bool is_shape, bool is_grown);
  void end() const noexcept;
  void free() const noexcept;
  static std::size_t bytes_of(std::size_t room, bool is_shape);
  /// One-byte fingerprint, which differs for most names.
  static std::uint8_t print_of(const detail::Front& front) {
    return static_cast<std::uint8_t>((front.words.low + 3 * front.words.high + front.size) * 0x9E3779B97F4A7C15 >> 56);
  }
  static bool is_text(const Name::Rep& name, const detail::Front& front, std::string_view text) {
    return name.front == front && (text.size() <= detail::Front::kBytes || goes_on_like(name, text));
  }
  /// Whether both have the same bytes after their fronts.
  static bool goes_on_like(const Name::Rep& name, std::string_view text);
  /// For a shape: the fingerprint of each key, stored after the keys.
  std::uint8_t* prints() const { return reinterpret_cast<std::uint8_t*>(const_cast<Value*>(begin() + room_)); }
  void make_prints() const;
  static bool equal(const Value& key, const KeyRef& ref);
  std::uint32_t scan(const KeyRef& ref) const;
  Value* keys() { return reinterpret_cast<Value*>(this + 1); }
  void add(Value&& key) { new (keys() + count_++) Value(std::move(key)); }
  void add(const Value* begin, std::size_t count) {
    for (std::size_t at = 0; at < count; ++at) add(Value(begin[at]));
  }
  static void enlarge(KeySet*& keys, std::size_t room);
  void make_index(std::size_t room) const;
  void free_index() const noexcept;
  void link(std::size_t at) const;

  std::uint32_t count_ = 0;
  std::uint32_t room_;
  mutable Index* index_ = nullptr;  // null until built
  std::uint64_t hash_ = 0;          // shapes: hash of the names
  std::uint32_t first_ = 0;         // own keys: all before it are erased
  bool is_shape_;
  bool is_grown_ = false;  // shapes: grown step by step from the empty shape
  mutable std::atomic<std::uint32_t> grows_to_ = 0;
  mutable std::atomic<bool> led_on_ = false;  // shapes: another shape was grown from it
};

}  // namespace tessra
