#pragma once

// Memory layout of lists and dictionaries, and the operations short enough to be inlined. Included by value.h; other
// code uses the handles.

#include <bit>
#include <cstdint>

#include "Tessra/base/key_match.h"
#include "Tessra/base/key_set.h"
#include "Tessra/base/pool.h"
#include "Tessra/base/value.h"

namespace tessra {

/// Throws `LimitError` beyond `kMaxDepth`.
inline void check_depth(int depth) {
  if (depth > kMaxDepth) throw LimitError("nested deeper than " + std::to_string(kMaxDepth));
}

/// The values of a list or a dictionary. They are stored right after the row, in the same memory block, until it is
/// full. Then a row with a single handle moves to a larger block; a shared row must keep its address, so only its
/// values move to a separate block.
///
/// The keys of a dictionary are stored apart from its values, so that dictionaries with the same fields can share them.
/// A key whose value is marked absent is not in the dictionary. Erasing therefore moves nothing, pointers to values
/// stay valid until the next insertion, and records that omit some fields can still share one shape. An insertion that
/// finds too many absent entries removes them.
struct Row {
  /// Maximum number of values stored behind a row.
  static constexpr std::size_t kMostBehind = 252;

  std::uint32_t refs = 1;
  std::uint32_t count = 0;  // number of values, including absent ones
  union {
    std::uint32_t absent = 0;  // dictionary: number of absent values
    std::uint32_t come_to;     // during destruction: the place of the next value
  };
  std::uint32_t behind;  // number of values that fit behind the row
  union {
    const KeySet* keys;  // dictionary: one key per value; null for a list
    Row* outer;          // during destruction: the row to continue with afterwards
  };
  Value* values;

  /// A row without values, with room for this many.
  static Row* make(std::size_t room, const KeySet* keys);
  /// Destroys the row and what only it holds, iteratively: deep nesting must not overflow the stack.
  static void end(Row* row) noexcept;
  /// Reserves room for `more` values. `row` is the handle's pointer; it is updated if the row moves.
  static void reserve(Row*& row, std::size_t more) {
    if (row->room() < row->count + more) enlarge(row, row->count + more);
  }
  /// Reserves room for one value, growing geometrically so that rows filled one by one rarely move.
  static void reserve_one(Row*& row) {
    if (row->room() == row->count) enlarge(row, row->count + row->count / 2 + 2);
  }

  Row(std::size_t room, const KeySet* its_keys)
      : behind(static_cast<std::uint32_t>(room)), keys(its_keys), values(inside()) {}
  Row(const Row&) = delete;
  Row& operator=(const Row&) = delete;

  // For dictionaries.

  std::size_t size() const { return count - absent; }
  /// Lower bound of the first entry's place: repeatedly erasing the first entry does not rescan the erased ones.
  std::size_t first() const { return keys->first(); }
  /// The value at this place, or null when it is absent.
  Value* present(std::size_t at) const;
  /// Bit mask of the values from this place on, up to 64, that satisfy `is`. Any field may be omitted, so a branch per
  /// field would be mispredicted.
  template <class Is>
  std::uint64_t which_from(std::size_t at, Is is) const;
  /// The same for values that are not absent.
  std::uint64_t present_from(std::size_t at) const;
  /// Writes the plain values of a record, up to 64 from this place on, over plain values here under the same keys.
  /// Returns the mask of those written.
  std::uint64_t write_plain(const Row& fresh, std::size_t at, const KeyMatch& match);
  void erase(std::uint32_t at);

  Value* inside() { return reinterpret_cast<Value*>(this + 1); }
  bool is_outside() const { return values != reinterpret_cast<const Value*>(this + 1); }
  std::size_t room() const { return is_outside() ? outside_room() : behind; }
  /// Adds a value; there must be room.
  Value& add(Value&& value);
  void add_absent(std::size_t more);
  /// Constructs the value returned by `make` in an absent place. `make` must not throw once the value exists.
  template <class Make>
  void put(std::size_t at, const Make& make);
  /// Adds copies of all values of another row; there must be room.
  void add_all(const Row& other);
  /// Moves all values of another row here; there must be room.
  void take_all(Row& other);
  /// Destroys the values from this place on.
  void cut(std::size_t at) noexcept;
  /// Moves all values to a new row, which the caller must `end` as its last step: destroying values may run any code.
  [[nodiscard]] Row* take_out();

 private:
  static void enlarge(Row*& row, std::size_t room);
  std::size_t outside_room() const { return reinterpret_cast<const std::uint64_t*>(values)[-1]; }
  void free_outside() noexcept;
  void free_block() noexcept;
  class Ending;
};

inline Value& Row::add(Value&& value) { return *new (values + count++) Value(std::move(value)); }
inline void Row::add_absent(std::size_t more) {
  for (Value* at = values + count; at < values + count + more; ++at) new (at) Value(Value::absent());
  count += static_cast<std::uint32_t>(more);
  absent += static_cast<std::uint32_t>(more);
}
template <class Make>
void Row::put(std::size_t at, const Make& make) {
  new (values + at) Value(make());
  --absent;
}
template <class Is>
std::uint64_t Row::which_from(std::size_t at, Is is) const {
  std::uint64_t bits = 0;
#pragma GCC unroll 4
  for (std::size_t end = std::min<std::size_t>(count, at + 64); end > at; --end) {
    bits = 2 * bits + (is(values[end - 1]) ? 1 : 0);
  }
  return bits;
}
inline std::uint64_t Row::present_from(std::size_t at) const {
  return which_from(at, [](const Value& value) { return !value.is_absent(); });
}
// NOLINTNEXTLINE(readability-make-member-function-const): it writes
inline std::uint64_t Row::write_plain(const Row& fresh, std::size_t at, const KeyMatch& match) {
  std::uint64_t written = 0;
  const auto is_plain = [](const Value& value) { return value.is_plain(); };
  for (std::uint64_t plain = fresh.which_from(at, is_plain); plain != 0; plain &= plain - 1) {
    const std::size_t from = at + std::countr_zero(plain);
    const std::uint32_t place = match.place(from);
    if (place == KeySet::kNowhere || !values[place].is_plain()) continue;
    values[place].take_bits(fresh.values[from]);
    written |= plain & -plain;
  }
  return written;
}
inline Value* Row::present(std::size_t at) const { return values[at].is_absent() ? nullptr : values + at; }

/// Iterates over entries in insertion order. Entries may be erased during the loop, not added.
template <bool kConst>
class DictIterator {
 public:
  struct Item {
    const Value& key;
    std::conditional_t<kConst, const Value, Value>& value;
  };
  using iterator_category = std::input_iterator_tag;
  using value_type = Item;
  using difference_type = std::ptrdiff_t;
  using reference = Item;
  using pointer = void;

  /// `row` is null for an empty dictionary without memory.
  DictIterator(Row* row, std::size_t at) : row_(row), at_(at) { skip_absent(); }
  Item operator*() const { return {row_->keys->key(at_), row_->values[at_]}; }
  DictIterator& operator++() {
    ++at_;
    skip_absent();
    return *this;
  }
  /// The end is wherever the entries end now, even if some were removed during the loop.
  friend bool operator==(const DictIterator& a, const DictIterator& b) {
    return (a.at_end() && b.at_end()) || (a.at_ == b.at_ && !a.at_end() && !b.at_end());
  }

 private:
  bool at_end() const { return row_ == nullptr || at_ >= row_->count; }
  void skip_absent() {
    while (!at_end() && row_->values[at_].is_absent()) ++at_;
  }
  Row* row_;
  std::size_t at_;
};

inline KeyRef::KeyRef(const Value& value) {
  if (value.tag() == Value::Tag::name) {
    name_ = value.name();
    text_ = {name_->bytes, name_->size};
    hash_ = name_->hash;
  } else if (value.tag() == Value::Tag::string) {
    long_text_ = &value;
  } else if (value.is_string()) {
    text_ = value.as_text();
  } else {
    refer_to_number(value);
  }
}

inline std::string_view KeyRef::text() const { return long_text_ != nullptr ? long_text_->as_text() : text_; }

inline std::uint32_t KeyRef::hash() const {
  if (hash_ == 0 && long_text_ != nullptr) hash_ = long_text_->known_hash();
  if (hash_ == 0) {
    hash_ = hash_text(text());
    if (long_text_ != nullptr) long_text_->remember_hash(hash_);
  }
  return hash_;
}

inline bool KeySet::equal(const Value& key, const KeyRef& ref) {
  if (key.tag() == Value::Tag::name && ref.name_ != nullptr) return key.name() == ref.name_;
  if (ref.long_text_ != nullptr && key.bits_ == ref.long_text_->bits_) return true;
  if (key.is_string()) return ref.is_text_ && key.as_text() == ref.text();
  return key.is_integer() && !ref.is_text_ && key.integer() == ref.integer_;
}

inline std::uint32_t KeySet::find(const KeyRef& ref) const {
  if (index_ == nullptr) {
    if (count_ <= kScanLimit) return scan(ref);
    make_index(count_);
  }
  const std::uint32_t hash = ref.hash();
  const Index& index = *index_;
  for (std::uint32_t slot = hash & index.mask; index.slots[slot].number != 0; slot = (slot + 1) & index.mask) {
    const Slot& found = index.slots[slot];
    if (found.hash == hash && equal(key(found.number - 1), ref)) return found.number - 1;
  }
  return kNowhere;
}

inline void KeySet::fetch(const KeyRef& ref) const { __builtin_prefetch(&index_->slots[ref.hash() & index_->mask]); }
inline std::uint32_t KeySet::likely(const KeyRef& ref) const {
  const Slot& slot = index_->slots[ref.hash() & index_->mask];
  return slot.hash == ref.hash() ? slot.number - 1 : kNowhere;
}

inline std::uint32_t KeySet::find_from(std::uint32_t at, const detail::Front& front, std::string_view text) const {
  const std::uint8_t wanted = print_of(front);
  for (; at < count_; at += kPrints) {
    const std::uint64_t eight = detail::load(reinterpret_cast<const char*>(prints() + at), kPrints);
    for (std::uint64_t equal = detail::equal_bytes(eight, wanted); equal != 0; equal &= equal - 1) {
      const auto found = at + static_cast<std::uint32_t>(std::countr_zero(equal) / 8);
      if (found < count_ && is_text(*key(found).name(), front, text)) return found;
    }
  }
  return kNowhere;
}

inline std::uint32_t KeySet::scan(const KeyRef& ref) const {
  for (std::uint32_t at = 0; at < count_; ++at) {
    if (equal(key(at), ref)) return at;
  }
  return kNowhere;
}

inline List::List(const List& other) : List(&other.row()) { ++held()->refs; }
inline List::~List() {
  if (held() != nullptr && --held()->refs == 0) Row::end(held());
}
inline Dict::Dict(const Dict& other) : row_(&other.row()) { ++row_->refs; }
inline Dict::~Dict() {
  if (row_ != nullptr && --row_->refs == 0) Row::end(row_);
}

inline std::size_t Dict::size() const { return row_ != nullptr ? row_->size() : 0; }
inline bool Dict::empty() const { return size() == 0; }

inline bool Dict::contains(const KeyRef& key) const {
  if (row_ == nullptr) return false;
  const std::uint32_t at = row_->keys->find(key);
  // Usually nothing is absent, and the value need not be touched.
  return at != KeySet::kNowhere && (row_->absent == 0 || row_->present(at) != nullptr);
}
inline const Value* Dict::find(const KeyRef& key) const {
  if (row_ == nullptr) return nullptr;
  const std::uint32_t at = row_->keys->find(key);
  if (at == KeySet::kNowhere) return nullptr;
  return row_->present(at);
}
inline std::size_t Dict::place(const Value& stored) const { return static_cast<std::size_t>(&stored - row_->values); }
inline const Value& Dict::at_place(std::size_t place) const { return row_->values[place]; }
inline Value* Dict::find(const KeyRef& key) { return const_cast<Value*>(std::as_const(*this).find(key)); }

template <class Visit>
void Dict::merge(const Dict& fresh, Visit&& visit) {
  const Dict source = fresh;  // keeps it alive: it may be inside this dictionary and get overwritten
  if (source.row_ == nullptr) return;
  const Row& from = *source.row_;
  const KeySet* keys = nullptr;
  const KeyMatch* places = nullptr;
  const auto find_places = [&] {
    if (row().keys == keys && (places == nullptr || places->is_of(keys, from.keys))) return;
    keys = row_->keys;
    places = KeyMatch::of(keys, from.keys);
  };
  const auto visit_one = [&](std::size_t at) {
    const Value* value = at < from.count ? from.present(at) : nullptr;
    if (value == nullptr) return;  // the visitor modified `fresh`
    const Value& key = from.keys->key(at);
    find_places();
    if (places == nullptr) {
      visit(key, find(key), *value);
    } else {
      const std::uint32_t place = places->place(at);
      visit(key, place != KeySet::kNowhere ? row_->present(place) : nullptr, *value);
    }
  };
  for (std::size_t at = from.first(); at < from.count; at += 64) {
    std::uint64_t some = from.present_from(at);
    find_places();
    if (places != nullptr) some &= ~row_->write_plain(from, at, *places);
    for (; some != 0; some &= some - 1) visit_one(at + std::countr_zero(some));
  }
}

inline Dict::const_iterator Dict::begin() const { return {row_, row_ != nullptr ? row_->first() : 0}; }
inline Dict::const_iterator Dict::end() const { return {row_, SIZE_MAX}; }
inline Dict::iterator Dict::begin() { return {row_, row_ != nullptr ? row_->first() : 0}; }
inline Dict::iterator Dict::end() { return {row_, SIZE_MAX}; }

}  // namespace tessra
