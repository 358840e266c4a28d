#include "Tessra/base/dict.h"

#include <algorithm>

#include <cmath>
#include <utility>

#include "Tessra/base/value.h"

namespace tessra {

namespace {

/// Numbers are keys by value, so every key that is a number becomes an integer.
std::int64_t integer_key(const Value& value) {
  if (value.is_real()) {
    const double real = value.as_real();
    const bool whole = std::trunc(real) == real && real >= -0x1p63 && real < 0x1p63;
    if (!whole) throw KindError("a real that is no 64 bit integer is no dictionary key: " + value.to_text());
  }
  if (!value.is_number()) throw KindError("a " + std::string(kind_name(value.kind())) + " is no dictionary key");
  return value.to_integer();
}

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
  const std::uint64_t mixed = static_cast<std::uint64_t>(number) * 0x9E3779B97F4A7C15ULL;
  return static_cast<std::uint32_t>(mixed >> 32);
}

Value KeyRef::to_value() const {
  if (!is_text_) return integer_;
  if (name_ != nullptr) return Name(name_);
  if (const Name::Rep* name = Name::lookup(text_, hash_)) return Name(name);
  return text_;
}

std::string KeyRef::to_text() const { return is_text_ ? std::string(text_) : std::to_string(integer_); }

// ---- In memory --------------------------------------------------------------------------------------------------

Value& Dict::Rep::append(Value key, std::uint32_t hash, Value value) {
  constexpr std::size_t kRoom = 8;  // what leaves a shape often goes on a little
  if (absent > size() / 2 + 8) squeeze(1);
  if (keys->is_shape()) {
    // A name that was erased here is still in the shape.
    const bool goes_on = key.tag_ == Value::Tag::name && (absent == 0 || keys->find(key) == KeySet::kNowhere);
    const KeySet* next = goes_on ? keys->after(key) : nullptr;
    if (next != nullptr) {
      keys = next;
    } else {
      squeeze(kRoom);
    }
  }
  if (!keys->is_shape()) const_cast<KeySet*>(keys)->append(std::move(key), hash);
  values.push_back(std::move(value));
  return values.back();
}

void Dict::Rep::erase(std::uint32_t at) {
  // Destroyed last: the value's end may reach this dictionary again.
  [[maybe_unused]] const Value value = std::exchange(values[at], Value());
  values[at].tag_ = Value::Tag::absent;
  ++absent;
  if (!keys->is_shape()) const_cast<KeySet*>(keys)->erase(at);
  while (first < values.size() && values[first].is_absent()) ++first;
}

void Dict::Rep::squeeze(std::size_t more) {
  if (absent == 0) {
    KeySet::drop(std::exchange(keys, KeySet::own(keys->begin(), keys->count(), keys->count() + more)));
    return;
  }
  KeySet* own = KeySet::own(size() + more);
  for (std::size_t at = 0; at < values.size(); ++at) {
    if (!values[at].is_absent()) own->append(keys->key(at), KeyRef(keys->key(at)).hash());
  }
  std::erase_if(values, [](const Value& value) { return value.is_absent(); });
  KeySet::drop(std::exchange(keys, own));
  first = absent = 0;
}

void Dict::end(Rep* rep) noexcept {
  end_values(std::move(rep->values));
  delete rep;
}

Dict::Rep& Dict::rep() {
  if (rep_ == nullptr) rep_ = new Rep;
  return *rep_;
}

// ---- The handle -------------------------------------------------------------------------------------------------

Dict::Dict() : rep_(new Rep) {}
Dict::Dict(std::initializer_list<std::pair<KeyRef, Value>> entries) : Dict() {
  for (const auto& [key, value] : entries) set(key, value);
}
Dict::Dict(const Dict& other) noexcept : rep_(other.rep_) {
  if (rep_ != nullptr) ++rep_->refs;
}
Dict& Dict::operator=(Dict other) noexcept {
  std::swap(rep_, other.rep_);
  return *this;
}
Dict::~Dict() {
  if (rep_ != nullptr && --rep_->refs == 0) end(rep_);
}

void Dict::reserve(std::size_t count) {
  Rep& mine = rep();
  if (mine.values.empty() && count > KeySet::kMaxShapeKeys) KeySet::drop(std::exchange(mine.keys, KeySet::own(count)));
  mine.values.reserve(count);
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
  return rep().append(key.to_value(), key.hash(), std::move(value));
}

Value& Dict::operator[](const KeyRef& key) {
  if (Value* existing = find(key)) return *existing;
  return rep().append(key.to_value(), key.hash(), Value());
}

bool Dict::erase(const KeyRef& key) {
  const Value* found = find(key);
  if (found == nullptr) return false;
  rep_->erase(static_cast<std::uint32_t>(found - rep_->values.data()));
  return true;
}

void Dict::clear() {
  if (rep_ == nullptr) return;
  // Destroyed last, as when one entry is erased.
  const Values gone = std::exchange(rep_->values, {});
  KeySet::drop(std::exchange(rep_->keys, KeySet::none()));
  rep_->first = rep_->absent = 0;
}

void Dict::update(const Dict& other) {
  if (is(other) || other.empty()) return;
  const Dict source = other;  // `other` may stand inside this dictionary and be overwritten on the way
  Rep& mine = rep();
  if (source.size() >= mine.values.size()) mine.values.reserve(mine.values.size() + source.size());
  const Rep& from = *source.rep_;
  for (std::size_t at = from.first; at < from.values.size(); ++at) {
    if (from.values[at].is_absent()) continue;
    const KeyRef key(from.keys->key(at));
    if (Value* existing = find(key)) {
      *existing = from.values[at];
    } else {
      mine.append(from.keys->key(at), key.hash(), from.values[at]);
    }
  }
}

Dict Dict::shallow_copy() const {
  Dict copy;
  copy.update(*this);
  return copy;
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
