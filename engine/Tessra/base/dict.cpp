// Dictionaries: a row of values plus a key set (key_set.h). As long as its keys are field names, a dictionary uses a
// shared shape; anything a shape cannot express gives it keys of its own. The lookups themselves are inline, in
// tree_reps.h.

#include "Tessra/base/dict.h"

#include <algorithm>

#include <cmath>
#include <utility>
#include <vector>

#include "Tessra/base/value.h"

namespace tessra {

namespace {

/// Numbers are keys by value, so every numeric key becomes an integer.
std::int64_t integer_key(const Value& value) {
  if (value.is_real()) {
    const double real = value.as_real();
    const bool whole = std::trunc(real) == real && real >= -0x1p63 && real < 0x1p63;
    if (!whole) throw KindError("a real that is not a 64-bit integer cannot be a dictionary key: " + value.to_text());
  }
  if (!value.is_number()) throw KindError("a " + std::string(kind_name(value.kind())) + " cannot be a dictionary key");
  return value.to_integer();
}

/// Adds the key to the message of a `KindError`.
template <class Read>
decltype(auto) naming_key(const KeyRef& key, Read&& read) {
  try {
    return std::forward<Read>(read)();
  } catch (const KindError& error) {
    throw KindError("'" + key.to_text() + "': " + error.what());
  }
}

}  // namespace

void KeyRef::refer_to_number(const Value& value) {
  integer_ = integer_key(value);
  is_text_ = false;
  hash_ = hash_integer(integer_);
}

std::uint32_t KeyRef::hash_integer(std::int64_t number) {
  // Multiplicative hashing by 2^64 / golden ratio; the upper half is the better mixed one.
  const std::uint64_t mixed = static_cast<std::uint64_t>(number) * 0x9E3779B97F4A7C15ULL;
  return static_cast<std::uint32_t>(mixed >> 32);
}

Value KeyRef::to_value() const {
  if (!is_text_) return integer_;
  if (name_ != nullptr) return Name(name_);
  if (const Name::Rep* name = Name::lookup(text(), hash())) return Name(name);
  return long_text_ != nullptr ? *long_text_ : Value(text_);
}

std::string KeyRef::to_text() const { return is_text_ ? std::string(text()) : std::to_string(integer_); }

// ---- Storage ----------------------------------------------------------------------------------------------------

void Row::erase(std::uint32_t at) {
  // Destroyed last: the value's destructor may access this dictionary.
  [[maybe_unused]] const Value value = std::exchange(values[at], Value::absent());
  ++absent;
  if (!keys->is_shape()) const_cast<KeySet*>(keys)->erase(at);
}

Value& Dict::append(Value key, Value value) {
  constexpr std::size_t kRoom = 4;  // a dictionary that leaves its shape usually gets a few more keys
  row();
  // Squeeze when more than about a third of the places are absent: amortised, an erasure costs constant time.
  if (!row_->keys->is_shape() && row_->absent > row_->size() / 2 + 8) squeeze(1);
  if (row_->keys->is_shape()) {
    const bool is_name = key.tag() == Value::Tag::name;
    // The shape may contain the name as an absent entry; in insertion order it comes last now.
    if (is_name && row_->absent > 0 && row_->keys->find(key) != KeySet::kNowhere) squeeze(kRoom);
    const KeySet* next = is_name && row_->keys->is_shape() ? row_->keys->after(key) : nullptr;
    if (next != nullptr) {
      row_->keys->note_growth(next->usual_room());
      row_->keys = next;
    } else if (row_->keys->is_shape()) {
      own_keys(kRoom);
    }
  }
  if (row_->keys->is_shape()) {
    Row::reserve(row_, row_->keys->usual_room() - row_->count);
  } else {
    Row::reserve_one(row_);
    auto* own = const_cast<KeySet*>(row_->keys);
    KeySet::append(own, std::move(key));
    row_->keys = own;
  }
  return row_->add(std::move(value));
}

bool Dict::join(Row& from) {
  const KeyMatch* match = KeyMatch::of(row_->keys, from.keys);
  const KeySet* joined = match != nullptr ? match->joined() : nullptr;
  if (joined == nullptr || joined == row_->keys) return false;
  if (row_->absent > 0) {
    // A key that is absent here would have to come last, which the joined shape does not express.
    for (const auto [held, fresh] : match->common()) {
      if (from.present(fresh) != nullptr && row_->present(held) == nullptr) return false;
    }
  }
  const std::size_t room = joined->usual_room();
  row_->keys->note_growth(room);
  Row::reserve(row_, room - row_->count);
  row_->keys = joined;
  if (match->common().empty()) {
    if (from.refs == 1) {
      row_->take_all(from);
    } else {
      row_->add_all(from);
    }
    return true;
  }
  for (std::size_t at = 0; at < from.count; ++at) {
    if (match->place(at) != KeySet::kNowhere) continue;
    row_->absent += from.values[at].is_absent() ? 1 : 0;
    row_->add(from.refs == 1 ? std::move(from.values[at]) : Value(from.values[at]));
  }
  // A copy, since destroying an overwritten value may run code that replaces the cached match.
  const std::vector<KeyMatch::Pair> common = match->common();
  for (const auto [held, fresh] : common) {
    if (const Value* value = from.present(fresh)) row_->values[held] = *value;
  }
  return true;
}

void Dict::squeeze(std::size_t more) {
  std::vector<Value> keys;
  std::size_t left = 0;
  for (std::size_t at = 0; at < row_->count; ++at) {
    if (row_->values[at].is_absent()) continue;
    keys.push_back(row_->keys->key(at));
    if (left != at) row_->values[left] = std::move(row_->values[at]);
    ++left;
  }
  row_->cut(left);
  row_->absent = 0;
  // What is left of a shape is a sequence of names, which may have a shape as well.
  const KeySet* shape = row_->keys->is_shape() ? KeySet::frequent_shape_of(keys.data(), left) : nullptr;
  KeySet::drop(std::exchange(row_->keys, shape != nullptr ? shape : KeySet::own(keys.data(), left, left + more)));
}

void Dict::own_keys(std::size_t more) {
  if (row_->absent > 0) squeeze(more);
  if (row_->keys->is_shape()) row_->keys = KeySet::own(row_->keys->begin(), row_->count, row_->count + more);
}

Row& Dict::make_row() const { return *(row_ = Row::make(kUsualRoom, KeySet::none())); }

// ---- The handle -------------------------------------------------------------------------------------------------

Dict::Dict(std::initializer_list<std::pair<KeyRef, Value>> entries) : Dict() {
  for (const auto& [key, value] : entries) set(key, value);
}
Dict& Dict::operator=(Dict other) noexcept {
  std::swap(row_, other.row_);
  return *this;
}

const Value& Dict::at(const KeyRef& key) const {
  const Value* value = find(key);
  if (value == nullptr) throw KeyError("missing key '" + key.to_text() + "'");
  return *value;
}
Value& Dict::at(const KeyRef& key) { return const_cast<Value&>(std::as_const(*this).at(key)); }

Value Dict::get(const KeyRef& key) const {
  const Value* value = find(key);
  return value != nullptr ? *value : Value();
}

bool Dict::non_empty(const KeyRef& key) const {
  const Value* value = find(key);
  return value != nullptr && value->truthy();
}

const Dict* Dict::find_dict(const KeyRef& key) const {
  const Value* value = find(key);
  return value == nullptr ? nullptr : naming_key(key, [&] { return &value->as_dict(); });
}
Dict* Dict::find_dict(const KeyRef& key) { return const_cast<Dict*>(std::as_const(*this).find_dict(key)); }

const List* Dict::find_list(const KeyRef& key) const {
  const Value* value = find(key);
  return value == nullptr ? nullptr : naming_key(key, [&] { return &value->as_list(); });
}
List* Dict::find_list(const KeyRef& key) { return const_cast<List*>(std::as_const(*this).find_list(key)); }

const Dict& Dict::at_dict(const KeyRef& key) const {
  const Value& value = at(key);
  return *naming_key(key, [&] { return &value.as_dict(); });
}
Dict& Dict::at_dict(const KeyRef& key) { return const_cast<Dict&>(std::as_const(*this).at_dict(key)); }

const List& Dict::at_list(const KeyRef& key) const {
  const Value& value = at(key);
  return *naming_key(key, [&] { return &value.as_list(); });
}
std::string_view Dict::at_text(const KeyRef& key) const {
  const Value& value = at(key);
  return naming_key(key, [&] { return value.as_text(); });
}
std::int64_t Dict::at_integer(const KeyRef& key) const {
  const Value& value = at(key);
  return naming_key(key, [&] { return value.as_integer(); });
}
double Dict::at_real(const KeyRef& key) const {
  const Value& value = at(key);
  return naming_key(key, [&] { return value.as_real(); });
}

Value& Dict::set(const KeyRef& key, Value value) {
  if (Value* existing = find(key)) return *existing = std::move(value);
  return append(key.to_value(), std::move(value));
}

Value& Dict::operator[](const KeyRef& key) {
  if (Value* existing = find(key)) return *existing;
  return append(key.to_value(), Value());
}

bool Dict::erase(const KeyRef& key) {
  const Value* found = find(key);
  if (found == nullptr) return false;
  row_->erase(static_cast<std::uint32_t>(found - row_->values));
  return true;
}

void Dict::clear() {
  if (row_ == nullptr) return;
  Row* gone = row_->take_out();
  KeySet::drop(std::exchange(row_->keys, KeySet::none()));
  Row::end(gone);  // last, for the same reason as in `erase`
}

void Dict::update(const Dict& other) {
  if (!other.empty()) update(Dict(other));
}

void Dict::update(Dict&& other) {
  if (is(other) || other.empty()) return;
  const Dict source = std::move(other);  // keeps it alive: it may be inside this dictionary and get overwritten
  row();
  if (join(*source.row_)) return;
  if (row_->count == 0) Row::reserve(row_, source.size());
  merge(source, [this](const Value& key, Value* stored, const Value& value) {
    if (stored != nullptr) {
      *stored = value;
    } else {
      append(key, value);
    }
  });
}

Dict Dict::shallow_copy() const {
  Dict copy;
  copy.update(*this);
  return copy;
}

std::vector<Value*> Dict::find_all(const Dict& table) {
  // Lookups whose cache misses overlap.
  constexpr std::size_t kTogether = 16;
  std::vector<Value*> found;
  found.reserve(table.size());
  std::vector<const Value*> some;
  const auto find_some = [&] {
    fetch_under(some);
    for (const Value* key : some) found.push_back(find(*key));
    some.clear();
  };
  for (auto [key, value] : table) {
    some.push_back(&key);
    if (some.size() == kTogether) find_some();
  }
  find_some();
  return found;
}

void Dict::fetch_under(std::span<const Value* const> keys) const {
  if (row_ == nullptr || !row_->keys->is_indexed()) return;
  const KeySet& held = *row_->keys;
  const auto for_each_place = [&](auto&& visit) {
    for (const Value* key : keys) {
      const std::uint32_t place = held.likely(*key);
      if (place != KeySet::kNowhere) visit(place);
    }
  };
  // Four stages, each for all keys, since a stage needs the data that the one before has prefetched: texts of the keys,
  // index slots, keys and values, what these refer to.
  for (const Value* key : keys) key->fetch_held();
  for (const Value* key : keys) held.fetch(*key);
  for_each_place([&](std::uint32_t place) {
    __builtin_prefetch(&held.key(place));
    __builtin_prefetch(row_->values + place);
  });
  for_each_place([&](std::uint32_t place) {
    held.key(place).fetch_held();
    row_->values[place].fetch_held();
  });
}

bool operator==(const Dict& a, const Dict& b) { return Dict::equal(a, b, 1); }

bool Dict::equal(const Dict& a, const Dict& b, int depth) {
  if (a.is(b)) return true;
  if (a.size() != b.size()) return false;
  check_depth(depth);
  return std::all_of(a.begin(), a.end(), [&](const auto& entry) {
    const Value* other = b.find(entry.key);
    return other != nullptr && Value::equal(entry.value, *other, depth);
  });
}

}  // namespace tessra
