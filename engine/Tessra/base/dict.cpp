#include "Tessra/base/dict.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "Tessra/base/tree_reps.h"

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

KeyRef::KeyRef(const Value& value) {
  if (value.tag_ == Value::Tag::name) {
    name_ = value.name_;
    text_ = value.as_text();
    hash_ = name_->hash;
  } else if (value.is_string()) {
    text_ = value.as_text();
    hash_ = hash_text(text_);
  } else {
    integer_ = integer_key(value);
    is_text_ = false;
    hash_ = hash_integer(integer_);
  }
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
  if (rep_ != nullptr && --rep_->refs == 0) delete rep_;
}

std::size_t Dict::size() const { return rep_->table.size(); }
void Dict::reserve(std::size_t count) { rep_->table.reserve(count); }

const Value* Dict::find(const KeyRef& key) const { return rep_->table.find(key, key.hash()); }
Value* Dict::find(const KeyRef& key) { return rep_->table.find(key, key.hash()); }

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
  return rep_->table.append(key.to_value(), key.hash(), std::move(value));
}

Value& Dict::operator[](const KeyRef& key) {
  if (Value* existing = find(key)) return *existing;
  return rep_->table.append(key.to_value(), key.hash(), Value());
}

bool Dict::erase(const KeyRef& key) { return rep_->table.erase(key, key.hash()); }
void Dict::clear() { rep_->table.clear(); }

void Dict::update(const Dict& other) {
  if (is(other)) return;
  const Dict source = other;  // `other` may stand inside this dictionary and be overwritten on the way
  for (const auto& entry : source.rep_->table.entries()) {
    if (!entry.live) continue;
    if (Value* existing = rep_->table.find(KeyRef(entry.key), entry.hash)) {
      *existing = entry.value;
    } else {
      rep_->table.append(entry.key, entry.hash, entry.value);
    }
  }
}

Dict::Table::const_iterator Dict::begin() const { return std::as_const(rep_->table).begin(); }
Dict::Table::const_iterator Dict::end() const { return std::as_const(rep_->table).end(); }
Dict::Table::iterator Dict::begin() { return rep_->table.begin(); }
Dict::Table::iterator Dict::end() { return rep_->table.end(); }

Dict Dict::shallow_copy() const {
  Dict copy;
  copy.reserve(size());
  for (const auto& entry : rep_->table.entries()) {
    if (entry.live) copy.rep_->table.append(entry.key, entry.hash, entry.value);
  }
  return copy;
}

bool operator==(const Dict& a, const Dict& b) {
  if (a.is(b)) return true;
  if (a.size() != b.size()) return false;
  return std::ranges::all_of(a.rep_->table.entries(), [&b](const auto& entry) {
    if (!entry.live) return true;
    const Value* other = b.rep_->table.find(KeyRef(entry.key), entry.hash);
    return other != nullptr && *other == entry.value;
  });
}

}  // namespace tessra
