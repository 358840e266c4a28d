// Reading records is a large part of a step, so the builder is organised around what records have in common. A
// dictionary is first read along the shape last seen at its place (`read_along`), with no lookup per key. Where it
// deviates, `read_freely` takes over: it collects keys and values on stacks, decides at the end whether the keys are
// field names (then they get a shape) or ids (then a table), and teaches the place what it saw (`learn_usual`).

#include "Tessra/base/tree_builder.h"

#include <algorithm>
#include <array>
#include <utility>

#include "Tessra/base/json_number.h"

namespace tessra {

namespace {

/// The field number of all entries of a list or table: they share one place.
constexpr std::uint32_t kEntry = UINT32_MAX;

bool is_letter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

/// The characters of names: letters, digits and underscores. A lookup table, since a branch per character would be
/// mispredicted: in ids digits and letters alternate at random.
constexpr auto kOfNames = [] {
  std::array<bool, 256> of_names{};
  for (char c = 'a'; c <= 'z'; ++c) of_names[c] = of_names[c - 'a' + 'A'] = true;
  for (char c = '0'; c <= '9'; ++c) of_names[c] = true;
  of_names['_'] = true;
  return of_names;
}();

/// Whether a text could be a field name.
bool looks_like_name(std::string_view text) {
  constexpr std::size_t kLongest = 40;
  const auto belongs = [](char c) { return kOfNames[static_cast<unsigned char>(c)]; };
  return !text.empty() && text.size() <= kLongest && std::ranges::all_of(text, belongs);
}

}  // namespace

std::optional<Value> TreeBuilder::build(JsonTokens& tokens, std::size_t max_depth) {
  tokens_ = &tokens;
  depth_ = 0;
  max_depth_ = max_depth;
  ++record_;
  forget();  // leftovers of an error
  std::optional<Value> tree;
  try {
    tree = build_value(Place{});
    if (!tokens.at_end()) tree.reset();
  } catch (const Refused&) {
    // The caller locates the fault (json_fault.h).
  }
  forget();  // drop all references into the tree: it may be passed to another thread
  return tree;
}

void TreeBuilder::forget() {
  // Keeps room for the next record, but not that of the longest list ever read.
  constexpr std::size_t kKept = 65'536;
  for (std::vector<Value>* read : {&keys_, &values_}) {
    read->clear();
    if (read->capacity() > kKept) *read = std::vector<Value>();
  }
  late_.clear();
  ids_.clear();
}

TreeBuilder& TreeBuilder::of_thread() {
  static thread_local TreeBuilder builder;
  return builder;
}

Value TreeBuilder::build_value(Place place) {
  switch (tokens_->take()) {
    case '"':
      return build_text();
    case '{':
      return build_dict(place);
    case '[':
      return build_list(place);
    case 't':
      return build_word("true", true);
    case 'f':
      return build_word("false", false);
    case 'n':
      return build_word("null", {});
    case '-':
    case '0':
    case '1':
    case '2':
    case '3':
    case '4':
    case '5':
    case '6':
    case '7':
    case '8':
    case '9':
      return build_number();
    default:
      throw Refused();
  }
}

Value TreeBuilder::build_text() {
  const std::string_view written = tokens_->taken_text();
  const detail::Front front = tokens_->front(written);
  if (is_escaped(front, written)) return known(tokens_->unescaped(written));
  return written.size() <= Value::kShortText ? Value(front) : Value(written);
}

Value TreeBuilder::build_word(std::string_view word, Value value) {
  if (tokens_->taken() != word) throw Refused();
  return value;
}

Value TreeBuilder::build_number() {
  const std::string_view written = tokens_->taken();
  const JsonNumber read = read_number(written, tokens_->readable(written));
  if (read.kind == JsonNumber::Kind::unusual) return known(tokens_->lone_value(written));
  return Value::of_number(read.bits, read.kind == JsonNumber::Kind::real);
}

Value TreeBuilder::build_list(Place place) {
  enter();
  const Open open = here();
  if (tokens_->peek() == ']') {
    tokens_->take();
  } else {
    do {
      values_.push_back(build_value(place.of(kEntry)));
    } while (goes_on(']'));
  }
  --depth_;
  return List(make_row(open, nullptr));
}

Value TreeBuilder::build_dict(Place place) {
  enter();
  Dict dict;
  const KeySet& shape = usual_shape(place);
  if (tokens_->peek() == '}') {
    tokens_->take();
  } else if (shape.count() == 0) {
    dict = read_freely(place, dict, false);
  } else {
    dict = Dict(Row::make(shape.usual_room(), &shape));
    const bool is_whole = read_along(place, shape, dict);
    // A row along the shape has a place for every field; with few of many present, a row of its own is smaller.
    const bool is_usual = 6 * dict.size() + 8 >= shape.count();
    if (!is_whole || !is_usual) dict = read_freely(place, dict, is_whole);
  }
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
  // A two-way set: few places evict each other. The entry about which less is known is replaced.
  const std::size_t slot = place.path >> (32 - kPlaceBits);
  Usual& first = usual_[slot];
  if (first.place == place) return first;
  Usual& second = usual_[slot ^ 1];
  if (second.place == place) return second;
  const auto known = [](const Usual& usual) { return usual.shape->count() > 0 ? UINT32_MAX : usual.unlike; };
  Usual& fresh = known(first) < known(second) ? first : second;
  return fresh = Usual{place};
}

bool TreeBuilder::read_along(Place place, const KeySet& shape, Dict& dict) {
  Row& row = *dict.row_;
  row.add_absent(shape.count());
  std::uint32_t next = 0;
  do {
    if (tokens_->peek() != '"') throw Refused();
    const std::string_view key = tokens_->peek_text();
    const std::uint32_t found = shape.find_from(next, tokens_->front(key), key);
    if (found == KeySet::kNowhere) return false;
    tokens_->take();
    expect(':');
    row.put(found, [&] { return build_value(place.of(shape.key(found).name()->number)); });
    next = found + 1;
  } while (goes_on('}'));
  return true;
}

std::uint32_t TreeBuilder::number_of(const Value& key) {
  if (key.tag() == Value::Tag::name) return key.name()->number;
  // Either a rare field or the id of an entry. Ids contain digits or punctuation.
  const std::string_view text = key.as_text();
  return std::ranges::all_of(text, is_letter) ? hash_text(text) : kEntry;
}

Dict TreeBuilder::read_freely(Place place, const Dict& begun, bool is_whole) {
  const Open open = here();
  const bool is_known = is_whole;  // then the usual shape has all of its names
  const std::uint64_t number = ++dicts_;
  bool is_distinct = true;
  const auto note_met = [&](std::uint64_t* last_with) {
    // Numbers grow, so an older one means the key was not yet seen here. A newer one comes from a dictionary nested in
    // this one and proves nothing; for names `are_distinct_names` decides below.
    is_distinct = is_distinct && last_with != nullptr && std::exchange(*last_with, number) < number;
  };
  const auto take_key = [&](Key key) {
    if (!key.is_late) note_met(key.last_with);
    keys_.push_back(std::move(key.value));
  };
  const auto take_late = [&] {
    for (std::size_t at = open.late; at < late_.size(); ++at) {
      Value& key = keys_[late_[at].place];
      RecordIds::Id& id = ids_.find_or_add(key, late_[at].hash);
      note_met(late_[at].may_be_name ? nullptr : &id.last_with);
      key = id.text;
    }
    late_.resize(open.late);
  };
  for (auto [name, value] : begun) {
    take_key({name, &last_with(*name.name())});
    values_.push_back(value);
  }
  while (!is_whole) {
    take_key(next_key());
    values_.push_back(build_value(place.of(number_of(keys_.back()))));
    is_whole = !goes_on('}');
    constexpr std::size_t kTogether = 8;
    if (late_.size() - open.late == kTogether) take_late();
  }
  take_late();
  const bool are_all_names = are_names(open);
  if (!is_distinct && are_all_names) is_distinct = are_distinct_names(open);
  if (!is_distinct || !are_all_names) return make_table(open, is_distinct);
  const Value* names = keys_.data() + open.keys;
  const std::size_t count = keys_.size() - open.keys;
  if (!is_known) learn_usual(usual_at(place), names, count);
  const KeySet* shape = KeySet::frequent_shape_of(names, count);
  return Dict(make_row(open, shape != nullptr ? shape : KeySet::own(names, count, count)));
}

void TreeBuilder::learn_usual(Usual& usual, const Value* names, std::size_t count) {
  // `read_along` compares keys as written, so names that need escapes cannot be in a usual shape.
  const auto is_escaped = [](const Value& name) { return name.as_text().find('\\') != std::string_view::npos; };
  if (std::any_of(names, names + count, is_escaped)) return;
  const KeySet* learned = nullptr;
  if (usual.shape->count() == 0) {
    constexpr std::uint32_t kChance = 2;  // a dictionary seen once may be the only one
    if (++usual.unlike >= kChance) learned = KeySet::shape_of(names, count);
  } else {
    // Merges the usual names and the new ones, which works only if both agree on the order.
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

bool TreeBuilder::are_distinct_names(Open open) {
  const std::uint64_t number = ++dicts_;
  return std::all_of(keys_.begin() + static_cast<std::ptrdiff_t>(open.keys), keys_.end(),
                     [&](const Value& key) { return std::exchange(last_with(*key.name()), number) != number; });
}

std::uint64_t& TreeBuilder::last_with(const Name::Rep& name) {
  if (name.number >= last_with_.size()) last_with_.resize(2 * name.number + 64);
  return last_with_[name.number];
}

Row* TreeBuilder::make_row(Open open, const KeySet* keys) {
  Row* row = Row::make(values_.size() - open.values, keys);
  for (std::size_t at = open.values; at < values_.size(); ++at) row->add(std::move(values_[at]));
  keys_.resize(open.keys);
  values_.resize(open.values);
  return row;
}

Dict TreeBuilder::make_table(Open open, bool is_distinct) {
  // No index yet: most tables are iterated and never searched.
  KeySet* own = KeySet::own(nullptr, 0, keys_.size() - open.keys);
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

TreeBuilder::Key TreeBuilder::key_of(std::string_view text) {
  const std::uint32_t hash = hash_text(text);
  const bool is_long = text.size() > Value::kShortText;
  // Most ids do not look like names, which saves the lookup.
  const bool may_be_name = looks_like_name(text);
  const Name::Rep* name = may_be_name || !is_long ? Name::lookup(text, hash) : nullptr;
  if (name == nullptr && may_be_name) name = learn(text, hash);
  if (name != nullptr) return {Name(name), &last_with(*name)};
  if (!is_long) return {text, nullptr};
  // A text that may be interned later can occur in one dictionary as a text and as a name, so `last_with` proves
  // nothing.
  if (RecordIds::Id* id = ids_.find_next(text, hash)) return {id->text, may_be_name ? nullptr : &id->last_with};
  ids_.fetch(hash);
  late_.push_back({keys_.size(), hash, may_be_name});
  return {.value = Value(text, hash), .is_late = true};
}

const Name::Rep* TreeBuilder::learn(std::string_view text, std::uint32_t hash) {
  constexpr std::uint32_t kTimes = 32;  // ids repeat too, once per table of the record; field names far more often
  // A two-way set, as in `usual_at`: the entry seen less often is replaced.
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

TreeBuilder::Key TreeBuilder::next_key() {
  expect('"');
  const std::string_view written = tokens_->taken_text();
  expect(':');
  if (!is_escaped(tokens_->front(written), written)) return key_of(written);
  const Value plain = known(tokens_->unescaped(written));
  return key_of(plain.as_text());
}

bool TreeBuilder::goes_on(char closing) {
  const char next = tokens_->take();
  if (next != ',' && next != closing) throw Refused();
  return next == ',';
}

void TreeBuilder::expect(char token) {
  if (tokens_->take() != token) throw Refused();
}

Value TreeBuilder::known(std::optional<Value> value) {
  if (!value) throw Refused();
  return *std::move(value);
}

void TreeBuilder::enter() {
  if (++depth_ > max_depth_) throw Refused();
}

}  // namespace tessra
