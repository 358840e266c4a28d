#include "Tessra/base/tree_builder.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace tessra {

namespace {

/// A tape word: a letter for the kind in the highest byte, and a payload.
char kind_of(std::uint64_t word) { return static_cast<char>(word >> 56); }
constexpr std::uint64_t kPayload = (std::uint64_t{1} << 56) - 1;

/// Of the word that opens a list or dictionary: how many entries it has.
std::size_t entries_of(std::uint64_t word) { return word >> 32 & 0xFFFFFF; }

/// The number of a list's or table's entries in their place.
constexpr std::uint32_t kEntry = UINT32_MAX;

bool is_letter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

/// The bytes that names are made of: letters, digits and underscores. A table, since in ids digits and letters come as
/// they like, so that no branch on them can be foretold.
constexpr auto kOfNames = [] {
  std::array<bool, 256> of_names{};
  for (char c = 'a'; c <= 'z'; ++c) of_names[c] = of_names[c - 'a' + 'A'] = true;
  for (char c = '0'; c <= '9'; ++c) of_names[c] = true;
  of_names['_'] = true;
  return of_names;
}();

/// Whether a text could be the name of a field.
bool looks_like_name(std::string_view text) {
  constexpr std::size_t kLongest = 40;
  const auto belongs = [](char c) { return kOfNames[static_cast<unsigned char>(c)]; };
  return !text.empty() && text.size() <= kLongest && std::ranges::all_of(text, belongs);
}

}  // namespace

std::optional<Value> TreeBuilder::build(const std::uint64_t* tape, const std::uint8_t* texts, std::size_t max_depth) {
  at_ = tape + 1;  // after the root
  texts_ = texts;
  depth_ = 0;
  max_depth_ = max_depth;
  ++record_;
  forget();  // what an error left
  std::optional<Value> tree;
  try {
    tree = build_value(Place{});
  } catch (const Beyond&) {
    // The caller finds out where.
  }
  forget();  // the tree may go to another thread
  return tree;
}

void TreeBuilder::forget() {
  keys_.clear();
  values_.clear();
  for (const std::uint32_t place : ids_seen_) ids_[place] = Id();
  ids_seen_.clear();
}

TreeBuilder& TreeBuilder::of_thread() {
  static thread_local TreeBuilder builder;
  return builder;
}

Value TreeBuilder::build_value(Place place) {
  const std::uint64_t word = *at_++;
  switch (kind_of(word)) {
    case '"':
      return text_at(word);
    case 'l':
    case 'd': {
      // The two in one, since which of them comes cannot be foretold.
      Value number;
      number.head_ = Value::head_of(kind_of(word) == 'd' ? Value::Tag::real : Value::Tag::integer);
      number.payload_ = *at_++;
      return number;
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
  List list(Row::make(entries_of(at_[-1]), nullptr));
  while (kind_of(*at_) != ']') list.push_back(build_value(place.of(kEntry)));
  ++at_;
  --depth_;
  return list;
}

Value TreeBuilder::build_dict(Place place) {
  enter();
  const std::size_t count = entries_of(at_[-1]);
  const KeySet& shape = usual_shape(place);
  // A few fields of many would take more room along the shape than by themselves.
  const bool is_usual = 0 < count && count <= shape.count() && 6 * count + 8 >= shape.count();
  Dict dict;
  if (is_usual) {
    dict = Dict(Row::make(shape.usual_room(), &shape));
    read_along(place, shape, dict);
  }
  if (kind_of(*at_) != '}') dict = read_freely(place, dict);
  ++at_;
  --depth_;
  return dict;
}

const KeySet& TreeBuilder::usual_shape(Place place) const {
  const std::size_t slot = place.path >> (32 - kPlaceBits);
  if (usual_[slot].place == place) return *usual_[slot].shape;
  if (usual_[slot ^ 1].place == place) return *usual_[slot ^ 1].shape;
  return *KeySet::none();
}

TreeBuilder::Usual& TreeBuilder::usual_at(Place place) {
  // Two slots for each place, so that few places keep each other out; the one of which less is known gives way.
  const std::size_t slot = place.path >> (32 - kPlaceBits);
  Usual& first = usual_[slot];
  if (first.place == place) return first;
  Usual& second = usual_[slot ^ 1];
  if (second.place == place) return second;
  const auto known = [](const Usual& usual) { return usual.shape->count() > 0 ? UINT32_MAX : usual.unlike; };
  Usual& fresh = known(first) < known(second) ? first : second;
  return fresh = Usual{place};
}

void TreeBuilder::read_along(Place place, const KeySet& shape, Dict& dict) {
  Row& row = *dict.row_;
  row.add_absent(shape.count());
  for (std::uint32_t next = 0; kind_of(*at_) != '}';) {
    const std::uint32_t found = shape.find_from(next, text_at(*at_));
    if (found == KeySet::kNowhere) return;
    ++at_;
    row.put(found, build_value(place.of(shape.key(found).name_->number)));
    next = found + 1;
  }
}

std::uint32_t TreeBuilder::number_of(const Value& key) {
  if (key.tag() == Value::Tag::name) return key.name_->number;
  // A field that is rare, or the id of an entry?
  const std::string_view text = key.as_text();
  return std::ranges::all_of(text, is_letter) ? hash_text(text) : kEntry;
}

Dict TreeBuilder::read_freely(Place place, const Dict& begun) {
  const Open open{keys_.size(), values_.size()};
  for (auto [key, value] : begun) {
    keys_.push_back(key);
    values_.push_back(value);
  }
  while (kind_of(*at_) != '}') {
    keys_.push_back(key_of(next_key()));
    const Value& key = keys_.back();
    values_.push_back(build_value(place.of(number_of(key))));
  }
  const bool is_distinct = are_distinct(open);
  if (!is_distinct || !are_names(open)) return make_table(open, is_distinct);
  const Value* names = keys_.data() + open.keys;
  const std::size_t count = keys_.size() - open.keys;
  learn_usual(usual_at(place), names, count);
  const KeySet* shape = KeySet::frequent_shape_of(names, count);
  return make_record(open, shape != nullptr ? shape : KeySet::own(names, count, count));
}

void TreeBuilder::learn_usual(Usual& usual, const Value* names, std::size_t count) {
  const KeySet* learned = nullptr;
  if (usual.shape->count() == 0) {
    constexpr std::uint32_t kChance = 2;
    if (++usual.unlike >= kChance) learned = KeySet::shape_of(names, count);
  } else {
    // The usual names, and what is new between them; names in another order do not go together.
    std::vector<Value> both;
    std::size_t next = 0;
    bool in_order = true;
    for (std::size_t at = 0; at < count; ++at) {
      const std::uint32_t place = usual.shape->find(names[at]);
      if (place != KeySet::kNowhere) {
        in_order = in_order && place >= next;
        for (; next <= place; ++next) both.push_back(usual.shape->key(next));
      } else {
        both.push_back(names[at]);
      }
    }
    for (; next < usual.shape->count(); ++next) both.push_back(usual.shape->key(next));
    const bool fits = in_order && both.size() <= 2 * std::max(count, usual.shape->count()) + 8;
    learned = fits ? KeySet::shape_of(both.data(), both.size()) : KeySet::frequent_shape_of(names, count);
  }
  if (learned != nullptr) usual.shape = learned;
}

bool TreeBuilder::are_names(Open open) const {
  return std::all_of(keys_.begin() + static_cast<std::ptrdiff_t>(open.keys), keys_.end(),
                     [](const Value& key) { return key.tag() == Value::Tag::name; });
}

bool TreeBuilder::are_distinct(Open open) {
  ++dict_number_;
  for (std::size_t at = open.keys; at < keys_.size(); ++at) {
    std::uint32_t* last = last_with(keys_[at]);
    if (last == nullptr || std::exchange(*last, dict_number_) == dict_number_) return false;
  }
  return true;
}

std::uint32_t* TreeBuilder::last_with(const Value& key) {
  if (key.tag() == Value::Tag::name) {
    const std::uint32_t number = key.name_->number;
    if (number >= seen_in_.size()) seen_in_.resize(2 * number + 64);
    return &seen_in_[number];
  }
  if (key.tag() != Value::Tag::string) return nullptr;
  Id& id = ids_[key.known_hash() % kIds];
  const bool is_it = id.text.is_counted() && id.text.counted_ == key.counted_;
  // What may become a name can stand in one dictionary both as a text and as that name.
  return is_it && !id.may_be_name ? &id.seen_in : nullptr;
}

Dict TreeBuilder::make_record(Open open, const KeySet* keys) {
  Dict dict(Row::make(values_.size() - open.values, keys));
  for (std::size_t at = open.values; at < values_.size(); ++at) dict.row_->add(std::move(values_[at]));
  keys_.resize(open.keys);
  values_.resize(open.values);
  return dict;
}

Dict TreeBuilder::make_table(Open open, bool is_distinct) {
  KeySet* own = KeySet::own(keys_.size() - open.keys);
  Dict dict(Row::make(keys_.size() - open.keys, own));
  for (std::size_t at = open.keys; at < keys_.size(); ++at) {
    Value& value = values_[open.values + at - open.keys];
    const std::uint32_t known = is_distinct ? KeySet::kNowhere : own->find(keys_[at]);
    if (known != KeySet::kNowhere) {
      dict.row_->values[known] = std::move(value);
    } else {
      KeySet::append(own, std::move(keys_[at]));
      dict.row_->add(std::move(value));
    }
  }
  keys_.resize(open.keys);
  values_.resize(open.values);
  return dict;
}

Value TreeBuilder::key_of(std::string_view text) {
  const std::uint32_t hash = hash_text(text);
  // An id stands in several tables of a record, which then share its text.
  const bool is_long = text.size() > Value::kShortText;
  Id& id = ids_[hash % kIds];
  const bool is_known = is_long && id.is(text, hash);
  if (is_known && !id.may_be_name) return id.text;

  const bool may_be_name = is_known || looks_like_name(text);
  const Name::Rep* name = Name::lookup(text, hash);
  if (name == nullptr && may_be_name) name = learn(text, hash);
  if (name != nullptr) return Name(name);
  if (!is_long) return text;
  if (!is_known) {
    id = {Value(text, hash), may_be_name};
    ids_seen_.push_back(hash % kIds);
  }
  return id.text;
}

const Name::Rep* TreeBuilder::learn(std::string_view text, std::uint32_t hash) {
  constexpr std::uint32_t kTimes = 32;
  // Two slots for each text, so that no two fields keep each other out; what was met less gives way.
  Sighting* sighting = &sightings_[hash % kCounted];
  Sighting* other = &sightings_[(hash % kCounted) ^ 1];
  const auto is_it = [&](const Sighting& slot) { return slot.hash == hash && slot.record == record_; };
  const auto times = [this](const Sighting& slot) { return slot.record == record_ ? slot.times : 0; };
  if (!is_it(*sighting) && (is_it(*other) || times(*other) < times(*sighting))) sighting = other;
  if (!is_it(*sighting)) *sighting = {hash, 0, record_};
  if (++sighting->times != kTimes) return nullptr;
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

}  // namespace tessra
