#include "Tessra/base/tree_builder.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

namespace tessra {

namespace {

/// A tape word: a letter for the kind in the highest byte, and a payload.
char kind_of(std::uint64_t word) { return static_cast<char>(word >> 56); }
constexpr std::uint64_t kPayload = (std::uint64_t{1} << 56) - 1;

/// The places of a list's and a table's entries, from that of the list or table.
constexpr std::uint32_t kEntry = 0x9E3779B1;

/// Whether a text could be the name of a field: letters, digits and underscores.
bool looks_like_name(std::string_view text) {
  constexpr std::size_t kLongest = 40;
  const auto belongs = [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
  };
  return !text.empty() && text.size() <= kLongest && std::ranges::all_of(text, belongs);
}

}  // namespace

std::optional<Value> TreeBuilder::build(const std::uint64_t* tape, const std::uint8_t* texts, std::size_t max_depth) {
  at_ = tape + 1;  // after the root
  texts_ = texts;
  depth_ = 0;
  max_depth_ = max_depth;
  ++record_;
  keys_.clear();
  values_.clear();
  try {
    return build_value(0);
  } catch (const Beyond&) {
    return std::nullopt;
  }
}

Value TreeBuilder::build_value(Place place) {
  const std::uint64_t word = *at_++;
  switch (kind_of(word)) {
    case '"':
      return text_at(word);
    case 'l':
      return static_cast<std::int64_t>(*at_++);
    case 'd': {
      double real;
      std::memcpy(&real, at_++, sizeof(real));
      return real;
    }
    case '{':
      return build_dict(place);
    case '[':
      return build_list(place);
    case 't':
      return true;
    case 'f':
      return false;
    case 'n':
      return {};
    default:
      throw Beyond();  // an integer that needs the 64th bit for its size
  }
}

Value TreeBuilder::build_list(Place place) {
  enter();
  const std::size_t first = values_.size();
  while (kind_of(*at_) != ']') values_.push_back(build_value(place + kEntry));
  ++at_;
  --depth_;
  List list;
  move_tail(values_, first, list.rep_->values);
  return list;
}

Value TreeBuilder::build_dict(Place place) {
  enter();
  const Open open{keys_.size(), values_.size()};
  const KeySet* const expected = guesses_[place % kGuesses];
  bool as_expected = true;
  std::size_t count = 0;
  for (; kind_of(*at_) != '}'; ++count) {
    const std::string_view text = text_at(*at_++);
    as_expected = as_expected && count < expected->count() && expected->key(count).as_text() == text;
    keys_.push_back(as_expected ? expected->key(count) : key_of(text));
    const Value& key = keys_.back();
    values_.push_back(build_value(key.tag_ == Value::Tag::name ? key.name_->number : place + kEntry));
  }
  ++at_;
  --depth_;
  if (as_expected && count == expected->count()) return make_record(open, expected);
  if (!are_distinct_names(open)) return make_table(open);
  const Value* names = keys_.data() + open.keys;
  const KeySet* shape = KeySet::shape_of(names, count, hash_of_names(open));
  if (shape == nullptr) return make_record(open, KeySet::own(names, count, count));
  guesses_[place % kGuesses] = shape;
  return make_record(open, shape);
}

bool TreeBuilder::are_distinct_names(Open open) {
  ++dict_number_;
  for (std::size_t at = open.keys; at < keys_.size(); ++at) {
    if (keys_[at].tag_ != Value::Tag::name) return false;
    const std::uint32_t number = keys_[at].name_->number;
    if (number >= seen_in_.size()) seen_in_.resize(2 * number + 64);
    if (std::exchange(seen_in_[number], dict_number_) == dict_number_) return false;
  }
  return true;
}

std::uint64_t TreeBuilder::hash_of_names(Open open) const {
  std::uint64_t hash = 0;
  for (std::size_t at = open.keys; at < keys_.size(); ++at) hash = KeySet::hash_on(hash, keys_[at]);
  return hash;
}

Dict TreeBuilder::make_record(Open open, const KeySet* keys) {
  Dict dict;
  dict.rep_->keys = keys;
  move_tail(values_, open.values, dict.rep_->values);
  keys_.resize(open.keys);
  return dict;
}

Dict TreeBuilder::make_table(Open open) {
  Dict dict;
  KeySet* own = KeySet::own(keys_.size() - open.keys);
  dict.rep_->keys = own;
  dict.rep_->values.reserve(keys_.size() - open.keys);
  for (std::size_t at = open.keys; at < keys_.size(); ++at) {
    Value& value = values_[open.values + at - open.keys];
    const KeyRef key(keys_[at]);
    if (const std::uint32_t known = own->find(key); known != KeySet::kNowhere) {
      dict.rep_->values[known] = std::move(value);
    } else {
      own->append(std::move(keys_[at]), key.hash());
      dict.rep_->values.push_back(std::move(value));
    }
  }
  keys_.resize(open.keys);
  values_.resize(open.values);
  return dict;
}

Value TreeBuilder::key_of(std::string_view text) {
  const std::uint32_t hash = hash_text(text);
  const Name::Rep* name = Name::lookup(text, hash);
  if (name == nullptr) name = learn(text, hash);
  return name != nullptr ? Value(Name(name)) : Value(text);
}

const Name::Rep* TreeBuilder::learn(std::string_view text, std::uint32_t hash) {
  constexpr std::uint32_t kTimes = 32;
  Sighting& sighting = sightings_[hash % kCounted];
  if (sighting.hash != hash || sighting.record != record_) sighting = {hash, 0, record_};
  if (++sighting.times != kTimes || !looks_like_name(text)) return nullptr;
  const auto name = Name::learn(text);
  return name ? name->rep_ : nullptr;
}

std::string_view TreeBuilder::text_at(std::uint64_t word) const {
  const std::uint8_t* text = texts_ + (word & kPayload);
  std::uint32_t size;
  std::memcpy(&size, text, sizeof(size));
  return {reinterpret_cast<const char*>(text) + sizeof(size), size};
}

void TreeBuilder::enter() {
  if (++depth_ > max_depth_) throw Beyond();
}

void TreeBuilder::move_tail(Values& from, std::size_t first, Values& to) {
  const auto begin = from.begin() + static_cast<std::ptrdiff_t>(first);
  to.assign(std::make_move_iterator(begin), std::make_move_iterator(from.end()));
  from.resize(first);
}

}  // namespace tessra
