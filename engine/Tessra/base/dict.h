#pragma once

#include <concepts>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Tessra/base/error.h"
#include "Tessra/base/list.h"
#include "Tessra/base/name.h"

namespace tessra {

class Dict;
class Value;
struct Row;

/// Whether a deep copy copies texts too, so that it may be passed to another thread. Texts are immutable.
enum class Texts : std::uint8_t { copied, shared };

template <bool kConst>
class DictIterator;

/// The key argument of a lookup: text, a name, an integer, or a value used as a key. It refers to the caller's bytes
/// and is meant to live for one call only.
class KeyRef {
 public:
  KeyRef(std::string_view text) : text_(text), hash_(hash_text(text)) {}
  KeyRef(const std::string& text) : KeyRef(std::string_view(text)) {}
  KeyRef(const char* text) : KeyRef(std::string_view(text)) {}
  KeyRef(Name name) : text_(name.text()), name_(name.rep_), hash_(name.hash()) {}
  template <std::integral I>
    requires(!std::same_as<I, bool> && !std::same_as<I, char>)
  KeyRef(I number) : integer_(checked_integer(number)), is_text_(false), hash_(hash_integer(integer_)) {}
  /// Numbers are keys by value: true and 1.0 are the key 1. Throws `KindError` for a value that cannot be a key.
  KeyRef(const Value& value);  // inline, in tree_reps.h

  std::uint32_t hash() const;
  /// Whether the key is this name.
  bool is(Name name) const { return name_ != nullptr ? name_ == name.rep_ : is_text_ && text() == name.text(); }
  /// The key as it is stored: a known name if there is one, otherwise a new text, or an integer.
  Value to_value() const;
  /// The key's text; empty for an integer.
  std::string_view text() const;
  /// The key as shown in messages.
  std::string to_text() const;

 private:
  friend class KeySet;
  void refer_to_number(const Value& value);
  static std::uint32_t hash_integer(std::int64_t number);
  template <class I>
  static std::int64_t checked_integer(I number) {
    if (!std::in_range<std::int64_t>(number)) throw ConversionError("integer key beyond 64 bits");
    return static_cast<std::int64_t>(number);
  }

  std::string_view text_;
  const Value* long_text_ = nullptr;  // instead of `text_`, to avoid touching its bytes until they are needed
  const Name::Rep* name_ = nullptr;
  std::int64_t integer_ = 0;
  bool is_text_ = true;
  mutable std::uint32_t hash_ = 0;  // 0 until computed
};

/// Handle to a dictionary that keeps insertion order. Overwriting an entry keeps its place, erasing keeps the order
/// of the rest. Keys are texts or integers.
///
/// Copying the handle shares the dictionary: all holders see a write. `is` asks whether two handles refer to one
/// dictionary, `==` whether two dictionaries hold equal entries in any order. Pointers and references to values are
/// valid until the next insertion into that dictionary. A moved-from handle is a new empty dictionary. An empty
/// dictionary takes no memory until it is written to or shared. A dictionary belongs to one thread at a time.
class Dict {
 public:
  using iterator = DictIterator<false>;
  using const_iterator = DictIterator<true>;

  /// A new empty dictionary.
  Dict() noexcept : row_(nullptr) {}
  /// A new dictionary with these entries; of duplicate keys the last value wins, at the place of the first.
  Dict(std::initializer_list<std::pair<KeyRef, Value>> entries);
  Dict(const Dict& other);
  Dict(Dict&& other) noexcept : row_(other.row_) { other.row_ = nullptr; }
  Dict& operator=(Dict other) noexcept;
  ~Dict();

  std::size_t size() const;
  bool empty() const;

  // Reading. `find`, `get` and `non_empty` accept absent keys; `at` throws a `KeyError` naming the key.

  bool contains(const KeyRef& key) const;
  const Value* find(const KeyRef& key) const;
  Value* find(const KeyRef& key);
  const Value& at(const KeyRef& key) const;
  Value& at(const KeyRef& key);
  /// The value, or none when the key is absent. Shares lists and dictionaries.
  Value get(const KeyRef& key) const;
  /// Whether the key is present with a truthy value: not none, zero or empty.
  bool non_empty(const KeyRef& key) const;

  /// Position of a value of this dictionary: of two values, the one inserted first has the smaller place. Valid until
  /// the next insertion.
  std::size_t place(const Value& stored) const;
  /// The value at this place.
  const Value& at_place(std::size_t place) const;

  // Typed reading. A value of another kind throws `KindError` naming the key and both kinds.

  /// The dictionary under the key, or null when the key is absent.
  const Dict* find_dict(const KeyRef& key) const;
  Dict* find_dict(const KeyRef& key);
  const List* find_list(const KeyRef& key) const;
  List* find_list(const KeyRef& key);
  const Dict& at_dict(const KeyRef& key) const;
  Dict& at_dict(const KeyRef& key);
  const List& at_list(const KeyRef& key) const;
  std::string_view at_text(const KeyRef& key) const;
  std::int64_t at_integer(const KeyRef& key) const;
  double at_real(const KeyRef& key) const;

  // Writing.

  /// Inserts at the end or replaces in place; returns the stored value.
  Value& set(const KeyRef& key, Value value);
  /// The value under the key; none is inserted when it is absent.
  Value& operator[](const KeyRef& key);
  /// Returns false when the key is absent.
  bool erase(const KeyRef& key);
  void clear();
  /// Shallow merge: writes every entry of `other` here. Existing keys get the new value and keep their place. Lists and
  /// dictionaries are shared, not copied. Merging a dictionary into itself changes nothing.
  void update(const Dict& other);
  /// The same; values that no other handle refers to may be moved instead of shared. `other` is empty afterwards,
  /// unless it is this dictionary.
  void update(Dict&& other);

  /// For each key of a table, in its order, the value here under that key, or null. The entries of a large dictionary
  /// are scattered in memory; looked up in batches, their cache misses overlap.
  std::vector<Value*> find_all(const Dict& table);
  /// Walks `fresh` in its order and calls `visit(key, stored, value)` for its entries, where `stored` is the value here
  /// under the key, or null. A plain value (number or short text) that replaces a plain one may be written directly,
  /// without a visit. Faster than a lookup per key: for two shapes the matching places are cached. The visitor may
  /// write to this dictionary.
  template <class Visit>
  void merge(const Dict& fresh, Visit&& visit);

  /// Iterates in insertion order: `for (auto [key, value] : dict)`. Entries may be erased during the loop, not added.
  const_iterator begin() const;
  const_iterator end() const;
  iterator begin();
  iterator end();

  /// A new dictionary that shares the values' lists and dictionaries.
  Dict shallow_copy() const;
  /// A new dictionary that shares nothing with this one, except texts if `Texts::shared`. Sharing inside the tree is
  /// preserved inside the copy.
  Dict deep_copy(Texts texts = Texts::copied) const;

  bool is(const Dict& other) const { return row_ != nullptr ? row_ == other.row_ : this == &other; }
  friend bool operator==(const Dict& a, const Dict& b);

 private:
  friend class DeepCopy;
  friend class TreeBuilder;
  friend class Value;
  explicit Dict(Row* row) : row_(row) {}
  /// The row to write to or share, created on first use.
  Row& row() const { return row_ != nullptr ? *row_ : make_row(); }
  Row& make_row() const;
  static bool equal(const Dict& a, const Dict& b, int depth);
  /// Adds an entry whose key is known to be absent.
  Value& append(Value key, Value value);
  /// Prefetches what a lookup of these keys reads, and the dictionaries found.
  void fetch_under(std::span<const Value* const> keys) const;
  /// Fast path of `update` for dictionaries whose keys are shapes; returns false, without effect, if it does not apply.
  bool join(Row& from);
  /// Removes absent entries. Own keys get room for `more` further ones.
  void squeeze(std::size_t more);
  /// Replaces the shape by the dictionary's own keys, with room for `more` further ones.
  void own_keys(std::size_t more);

  static constexpr std::size_t kUsualRoom = 2;

  mutable Row* row_;  // null for an empty dictionary that no other handle shares
};

}  // namespace tessra
