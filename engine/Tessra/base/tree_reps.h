#pragma once

// How lists and dictionaries lie in memory, and what is short enough to be compiled into its callers. Included by
// value.h; everybody else sees handles.

#include <cstdint>
#include <vector>

#include "Tessra/base/key_set.h"
#include "Tessra/base/pool.h"
#include "Tessra/base/value.h"

namespace tessra {

/// Throws `LimitError` beyond `kMaxDepth`.
inline void check_depth(int depth) {
  if (depth > kMaxDepth) throw LimitError("nested deeper than " + std::to_string(kMaxDepth));
}

/// Ends the values of a container without recursing as deep as they are nested.
void end_values(Values&& values) noexcept;

struct List::Rep : Pooled {
  std::uint32_t refs = 1;
  Values values;
};

/// Keys apart from values: dictionaries with the same fields share one set of keys, so that each holds its values only.
///
/// The value of an erased entry is marked absent and nothing moves, so that pointers to values stay valid until the
/// next insertion; erased entries are squeezed out when an insertion finds too many. `first` counts the erased entries
/// at the front: who erases the first entry again and again never walks over what is gone.
struct Dict::Rep : Pooled {
  std::uint32_t refs = 1;
  std::uint32_t first = 0;
  std::uint32_t absent = 0;
  const KeySet* keys = KeySet::none();  // one key for each of `values`
  Values values;

  Rep() = default;
  Rep(const Rep&) = delete;
  Rep& operator=(const Rep&) = delete;
  ~Rep() { KeySet::drop(keys); }

  std::size_t size() const { return values.size() - absent; }
  /// Adds an entry that is known not to be there.
  Value& append(Value key, std::uint32_t hash, Value value);
  void erase(std::uint32_t at);
  /// Drops what is absent. The keys become the dictionary's own.
  void squeeze(std::size_t more);
};

/// Walks the entries in insertion order: `for (auto [key, value] : dict)`. Entries may be erased on the way, not added.
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

  /// `rep` may be null, for a dictionary that was moved from.
  DictIterator(Dict::Rep* rep, std::size_t at) : rep_(rep), at_(at) { skip_absent(); }
  Item operator*() const { return {rep_->keys->key(at_), rep_->values[at_]}; }
  DictIterator& operator++() {
    ++at_;
    skip_absent();
    return *this;
  }
  /// Every walk ends where the entries end now, also when some were removed on the way.
  friend bool operator==(const DictIterator& a, const DictIterator& b) {
    return (a.at_end() && b.at_end()) || (a.at_ == b.at_ && !a.at_end() && !b.at_end());
  }

 private:
  bool at_end() const { return rep_ == nullptr || at_ >= rep_->values.size(); }
  void skip_absent() {
    while (!at_end() && rep_->values[at_].is_absent()) ++at_;
  }
  Dict::Rep* rep_;
  std::size_t at_;
};

inline KeyRef::KeyRef(const Value& value) {
  if (value.tag_ == Value::Tag::name) {
    name_ = value.name_;
    text_ = {name_->bytes, name_->size};
    hash_ = name_->hash;
  } else if (value.is_string()) {
    text_ = value.as_text();
    hash_ = hash_text(text_);
  } else {
    refer_to_number(value);
  }
}

inline std::size_t Dict::size() const { return rep_ != nullptr ? rep_->size() : 0; }
inline bool Dict::empty() const { return size() == 0; }

inline const Value* Dict::find(const KeyRef& key) const {
  if (rep_ == nullptr) return nullptr;
  const std::uint32_t at = rep_->keys->find(key);
  if (at == KeySet::kNowhere) return nullptr;
  const Value& value = rep_->values[at];
  return rep_->absent == 0 || !value.is_absent() ? &value : nullptr;
}
inline Value* Dict::find(const KeyRef& key) { return const_cast<Value*>(std::as_const(*this).find(key)); }

inline Dict::const_iterator Dict::begin() const { return {rep_, rep_ != nullptr ? rep_->first : 0}; }
inline Dict::const_iterator Dict::end() const { return {rep_, SIZE_MAX}; }
inline Dict::iterator Dict::begin() { return {rep_, rep_ != nullptr ? rep_->first : 0}; }
inline Dict::iterator Dict::end() { return {rep_, SIZE_MAX}; }

}  // namespace tessra
