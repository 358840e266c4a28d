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

/// Whether a deep copy has texts of its own, so that it may go to another thread. Nobody can change a text.
enum class Texts : std::uint8_t { copied, shared };

template <bool kConst>
class DictIterator;

/// What a dictionary is asked for: text, a name, an integer, or a value used as a key. It refers to the caller's
/// bytes and is meant to live for one call only.
class KeyRef {
 public:
  KeyRef(std::string_view text) : text_(text), hash_(hash_text(text)) {}
  KeyRef(const std::string& text) : KeyRef(std::string_view(text)) {}
  KeyRef(const char* text) : KeyRef(std::string_view(text)) {}
  KeyRef(Name name) : text_(name.text()), name_(name.rep_), hash_(name.hash()) {}
  template <std::integral I>
    requires(!std::same_as<I, bool> && !std::same_as<I, char>)
  KeyRef(I number) : integer_(checked_integer(number)), is_text_(false), hash_(hash_integer(integer_)) {}
  /// Numbers act as keys by value: true and 1.0 are the key 1. Throws `KindError` for a value that is no key.
  KeyRef(const Value& value);  // inline, in tree_reps.h

  std::uint32_t hash() const;
  /// Whether it is this name.
  bool is(Name name) const { return name_ != nullptr ? name_ == name.rep_ : is_text_ && text() == name.text(); }
  /// The key as it is stored: a known name where there is one, else a text of its own, or an integer.
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
  const Value* long_text_ = nullptr;  // instead of `text_`: its bytes are not touched before they are needed
  const Name::Rep* name_ = nullptr;
  std::int64_t integer_ = 0;
  bool is_text_ = true;
  mutable std::uint32_t hash_ = 0;  // 0 until it is asked for
};

/// Handle to a dictionary that keeps insertion order. Overwriting an entry keeps its place, erasing keeps the order
/// of the rest. Keys are texts or integers.
///
/// Copying the handle shares the dictionary: what one holder writes, every holder reads. `is` asks whether two handles
/// are one dictionary, `==` whether two dictionaries hold equal entries in whatever order. Pointers and references to
/// values are valid until the next insertion into that dictionary. A moved-from handle is an empty dictionary of its
/// own. An empty dictionary takes no memory until it is written to or shared. A dictionary belongs to one thread at a
/// time.
class Dict {
 public:
  using iterator = DictIterator<false>;
  using const_iterator = DictIterator<true>;

  /// A new empty dictionary.
  Dict() noexcept : row_(nullptr) {}
  /// A new dictionary with these entries; the last of equal keys wins at the place of the first.
  Dict(std::initializer_list<std::pair<KeyRef, Value>> entries);
  Dict(const Dict& other);
  Dict(Dict&& other) noexcept : row_(other.row_) { other.row_ = nullptr; }
  Dict& operator=(Dict other) noexcept;
  ~Dict();

  std::size_t size() const;
  bool empty() const;
  /// Makes room for so many entries, and closes the gaps that erased ones left: until the next one is erased, no
  /// insertion changes the place of another entry.
  void reserve(std::size_t count);

  // Reading. Absence is normal for `find`, `get` and `non_empty`, and a `KeyError` naming the key for `at`.

  bool contains(const KeyRef& key) const;
  const Value* find(const KeyRef& key) const;
  Value* find(const KeyRef& key);
  const Value& at(const KeyRef& key) const;
  Value& at(const KeyRef& key);
  /// The value, or none when the key is absent. Shares lists and dictionaries.
  Value get(const KeyRef& key) const;
  /// Whether the key is there with a value that counts as true: not none, zero or empty.
  bool non_empty(const KeyRef& key) const;

  /// Where a value of this dictionary stands: of two, the one inserted first has the smaller place. Valid until the
  /// next insertion, or longer (`reserve`).
  std::size_t place(const Value& stored) const;
  /// The value that stands there.
  const Value& at_place(std::size_t place) const;

  // Typed reading: a value of another kind throws `KindError` naming the key and both kinds.

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
  /// Shallow merge: every entry of `other` is written here and wins over one with the same key, which keeps its
  /// place. Lists and dictionaries are shared, not copied. Merging a dictionary into itself changes nothing.
  void update(const Dict& other);
  /// The same; what no other handle knows may be moved instead of shared. `other` is empty afterwards, unless it is
  /// this dictionary.
  void update(Dict&& other);

  /// Begins to bring the entries of a record near, for who is going to touch many of them in a moment.
  void fetch() const;
  /// The same, a little later, for what its values refer to.
  void fetch_inside() const;
  /// Begins to fetch what looking for these keys is going to read, and the dictionaries that are found. What a large
  /// one holds lies far apart; asked for at once, some is fetched while other is looked at.
  void fetch_under(std::span<const Value* const> keys) const;
  /// What stands here under each key of a table, in its order; null where there is nothing. Fetched as above.
  std::vector<Value*> find_all(const Dict& table);
  /// Walks `fresh` beside this dictionary: `visit(key, stored, value)` for every entry of `fresh`, in its order, with
  /// what stands here under the key, or null. Values that are plain, numbers or short texts, may have been written over
  /// plain ones before, and are not shown. Quicker than looking up each: dictionaries of the same fields are known to
  /// each other. The visitor may write to this dictionary.
  template <class Visit>
  void merge(const Dict& fresh, Visit&& visit);

  /// Walks in insertion order: `for (auto [key, value] : dict)`. Entries may be erased on the way, not added.
  const_iterator begin() const;
  const_iterator end() const;
  iterator begin();
  iterator end();

  /// A new dictionary that shares the values' lists and dictionaries.
  Dict shallow_copy() const;
  /// A new dictionary that shares nothing with this one but texts, if that is wanted. What was shared inside stays
  /// shared inside the copy.
  Dict deep_copy(Texts texts = Texts::copied) const;

  bool is(const Dict& other) const { return row_ != nullptr ? row_ == other.row_ : this == &other; }
  friend bool operator==(const Dict& a, const Dict& b);

 private:
  friend class DeepCopy;
  friend class TreeBuilder;
  friend class Value;
  explicit Dict(Row* row) : row_(row) {}
  /// What is written to or shared; a handle that had none gets one now.
  Row& row() const { return row_ != nullptr ? *row_ : make_row(); }
  Row& make_row() const;
  static bool equal(const Dict& a, const Dict& b, int depth);
  /// Adds an entry that is known not to be there.
  Value& append(Value key, Value value);
  /// Of tables, which lie far apart: begins to fetch the value at this place of `fresh`, and what stands here under its
  /// key.
  void fetch_beside(const Row& fresh, std::size_t at) const;
  /// `update` for dictionaries whose keys are shapes; false, and nothing done, when it takes more than that.
  bool join(Row& from);
  /// Drops what is absent. Keys of the dictionary's own have room for so many more.
  void squeeze(std::size_t more);
  /// Leaves the shape, for keys of the dictionary's own.
  void own_keys(std::size_t more);

  static constexpr std::size_t kUsualRoom = 2;

  mutable Row* row_;  // null for an empty dictionary that no other handle knows
};

}  // namespace tessra
