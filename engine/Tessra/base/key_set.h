#pragma once

// The keys of dictionaries. Part of value.h, which is what others include.

#include <algorithm>
#include <atomic>
#include <cstdint>

#include "Tessra/base/pool.h"

namespace tessra {

/// The keys of one dictionary, or of many.
///
/// A service sends the same fields in the same order again and again, and elements are made alike. So dictionaries
/// whose keys are field names share one set of keys per sequence of names: a *shape*. Shapes live as names do: one
/// table per process, never freed, never changed, read without a lock. Adding a field to a dictionary of a shape leads
/// to the next shape. What is not met often makes no shape, and there is a limit; then the dictionary gets keys of its
/// own, as every table of ids has, and only it changes them.
///
/// The keys stand right behind the set, in the same block of memory. Small sets are searched from front to back; larger
/// ones through an open-addressing index, made when first asked.
class KeySet {
 public:
  static constexpr std::uint32_t kNowhere = UINT32_MAX;
  /// Most shapes, and most keys of one.
  static constexpr std::size_t kMaxShapes = 8192;
  static constexpr std::size_t kMaxShapeKeys = 128;

  KeySet(const KeySet&) = delete;
  KeySet& operator=(const KeySet&) = delete;

  /// The shape without keys.
  static const KeySet* none() { return &kNone; }
  /// The shape with these names, all different; null when there are too many names, or shapes, for one.
  static const KeySet* shape_of(const Value* names, std::size_t count);
  /// The same, but null as well when these names are too rare to be worth a shape.
  static const KeySet* frequent_shape_of(const Value* names, std::size_t count);
  /// Keys of a dictionary's own, with room for so many, beginning with these, which are all different.
  static KeySet* own(const Value* keys, std::size_t count, std::size_t room);
  /// Ends keys that are a dictionary's own.
  static void drop(const KeySet* keys) noexcept {
    if (!keys->is_shape_) keys->end();
  }

  bool is_shape() const { return is_shape_; }
  std::size_t count() const { return count_; }
  const Value& key(std::size_t at) const { return begin()[at]; }
  const Value* begin() const { return reinterpret_cast<const Value*>(this + 1); }
  /// Before this place no key counts any more.
  std::size_t first() const { return first_; }
  /// Where the key stands, or `kNowhere`.
  std::uint32_t find(const KeyRef& ref) const;

  // Of keys with an index, for who looks for many at once.

  bool is_indexed() const { return index_ != nullptr; }
  /// Begins to fetch what `find` looks at first.
  void fetch(const KeyRef& ref) const;
  /// The place that `find` looks at first, most often the one it finds; `kNowhere` when that is another key's.
  std::uint32_t likely(const KeyRef& ref) const;

  /// Of a shape: where the name with these bytes, which begin with `front`, stands from `at` on, or `kNowhere`. Quick
  /// when it stands near.
  std::uint32_t find_from(std::uint32_t at, const detail::Front& front, std::string_view text) const;
  /// Of a shape: the shape with this name added, which it does not have; null as for `frequent_shape_of`. Dictionaries
  /// that grow from nothing, as those of elements do, are taken along at their first step: what begins alike mostly
  /// goes on alike.
  const KeySet* after(const Value& name) const;

  /// Of a shape: how many keys dictionaries that had it came to have, lately, by insertions or when others were joined
  /// to them. Who makes room for as many at once spares moving the values later.
  std::size_t usual_room() const { return std::max<std::size_t>(count_, grows_to_.load(std::memory_order_relaxed)); }
  void note_growth(std::size_t count) const {
    if (0 < count_ && count <= 4 * std::size_t{count_} + 8) {
      grows_to_.store(static_cast<std::uint32_t>(count), std::memory_order_relaxed);
    }
  }

  // Of keys of a dictionary's own.

  /// Adds a key that is not there. The keys may move: `keys` is the dictionary's own pointer.
  static void append(KeySet*& keys, Value key);
  /// Makes room for so many. The keys may move.
  static void reserve(KeySet*& keys, std::size_t room);
  /// The key no longer counts; its place stays.
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
  /// Names whose prints are compared at once.
  static constexpr std::size_t kPrints = 8;

  constexpr KeySet(std::size_t room, bool is_shape, bool is_grown)
      : room_(static_cast<std::uint32_t>(room)), is_shape_(is_shape), is_grown_(is_grown) {}
  static KeySet* make(std::size_t room, bool is_shape, bool is_grown);
  void end() const noexcept;
  void free() const noexcept;
  static std::size_t bytes_of(std::size_t room, bool is_shape);
  /// A byte by which most names differ.
  static std::uint8_t print_of(const detail::Front& front) {
    return static_cast<std::uint8_t>((front.words.low + 3 * front.words.high + front.size) * 0x9E3779B97F4A7C15 >> 56);
  }
  static bool is_text(const Name::Rep& name, const detail::Front& front, std::string_view text) {
    return name.front == front && (text.size() <= detail::Front::kBytes || goes_on_like(name, text));
  }
  /// Whether both have the same bytes behind their fronts.
  static bool goes_on_like(const Name::Rep& name, std::string_view text);
  /// Of a shape: of each key, behind the keys.
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
  mutable Index* index_ = nullptr;  // null until made
  std::uint64_t hash_ = 0;          // of a shape: the hash of its names
  std::uint32_t first_ = 0;         // of a dictionary's own keys: those before it are erased
  bool is_shape_;
  bool is_grown_ = false;  // of a shape: made step by step from the shape without keys
  mutable std::atomic<std::uint32_t> grows_to_ = 0;
  mutable std::atomic<bool> led_on_ = false;  // of a shape: another one was grown from it
};

}  // namespace tessra
