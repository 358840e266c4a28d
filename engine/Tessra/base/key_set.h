#pragma once

// The keys of dictionaries. Part of value.h, which is what others include.

#include <atomic>
#include <cstdint>
#include <vector>

#include "Tessra/base/pool.h"

namespace tessra {

using Values = std::vector<Value, PoolAllocator<Value>>;

/// The keys of one dictionary, or of many.
///
/// A service sends the same fields in the same order again and again, and elements are made alike. So dictionaries
/// whose keys are field names share one set of keys per sequence of names: a *shape*. Shapes live as names do: one
/// table per process, never freed, never changed, read without a lock. Adding a field to a dictionary of a shape leads
/// to the next shape. What is not met often makes no shape, and there is a limit; then the dictionary gets keys of its
/// own, as every table of ids has, and only it changes them.
///
/// Small sets are searched from front to back; larger ones through an open-addressing index, made when first asked.
class KeySet : Pooled {
 public:
  static constexpr std::uint32_t kNowhere = UINT32_MAX;
  /// Most shapes, and most keys of one.
  static constexpr std::size_t kMaxShapes = 8192;
  static constexpr std::size_t kMaxShapeKeys = 128;

  /// The shape without keys.
  static const KeySet* none() { return &kNone; }
  /// The shape with these names, all different; null when there is none and these are too many or too rare for one.
  static const KeySet* shape_of(const Value* names, std::size_t count, std::uint64_t hash);
  /// Continues the hash for `shape_of` by one more name; it begins with 0.
  static std::uint64_t hash_on(std::uint64_t hash, const Value& name) {
    return (hash ^ reinterpret_cast<std::uintptr_t>(name.name_)) * 0x9E3779B97F4A7C15 + 1;
  }
  /// Keys of a dictionary's own, with room for so many.
  static KeySet* own(std::size_t room);
  /// The same, beginning with these, which are all different.
  static KeySet* own(const Value* keys, std::size_t count, std::size_t room);
  /// Ends keys that are a dictionary's own.
  static void drop(const KeySet* keys) {
    if (!keys->is_shape_) delete keys;
  }

  bool is_shape() const { return is_shape_; }
  std::size_t count() const { return keys_.size(); }
  const Value& key(std::size_t at) const { return keys_[at]; }
  const Value* begin() const { return keys_.data(); }
  /// Where the key stands, or `kNowhere`.
  std::uint32_t find(const KeyRef& ref) const {
    if (index_.empty()) {
      if (keys_.size() <= kScanLimit) return scan(ref);
      make_index(keys_.size());
    }
    const std::size_t mask = index_.size() - 1;
    for (std::size_t slot = ref.hash_ & mask; index_[slot].number != 0; slot = (slot + 1) & mask) {
      const Slot& found = index_[slot];
      if (found.hash == ref.hash_ && equal(keys_[found.number - 1], ref)) return found.number - 1;
    }
    return kNowhere;
  }
  /// Of a shape: the shape with this name added, which it does not have; null as for `shape_of`. Dictionaries that grow
  /// from nothing, as those of elements do, are taken along at their first step: what begins alike mostly goes on
  /// alike.
  const KeySet* after(const Value& name) const;

  // Of keys of a dictionary's own.

  void append(Value key, std::uint32_t hash);
  /// The key no longer counts; its place stays.
  void erase(std::uint32_t at) { keys_[at] = Value(); }

 private:
  struct Slot {
    std::uint32_t hash;
    std::uint32_t number;  // place + 1, 0 for an empty slot
  };
  struct Shapes;
  static constexpr std::size_t kScanLimit = 20;
  static const KeySet kNone;

  constexpr KeySet(bool is_shape, bool is_grown) : is_shape_(is_shape), is_grown_(is_grown) {}
  static bool equal(const Value& key, const KeyRef& ref) {
    if (key.tag_ == Value::Tag::name && ref.name_ != nullptr) return key.name_ == ref.name_;
    if (key.is_string()) return ref.is_text_ && key.as_text() == ref.text_;
    return key.tag_ == Value::Tag::integer && !ref.is_text_ && key.integer_ == ref.integer_;
  }
  std::uint32_t scan(const KeyRef& ref) const {
    for (std::size_t at = 0; at < keys_.size(); ++at) {
      if (equal(keys_[at], ref)) return static_cast<std::uint32_t>(at);
    }
    return kNowhere;
  }
  void make_index(std::size_t room) const;
  void link(std::uint32_t hash, std::size_t at) const;

  Values keys_;
  mutable std::vector<Slot, PoolAllocator<Slot>> index_;  // empty until made
  std::uint64_t hash_ = 0;                                // of a shape, as `shape_of` takes it
  bool is_shape_;
  bool is_grown_ = false;                     // of a shape: made step by step from the shape without keys
  mutable std::atomic<bool> led_on_ = false;  // of a shape: another one was grown from it
};

}  // namespace tessra
