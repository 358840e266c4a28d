#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "Tessra/base/json_tokens.h"
#include "Tessra/base/record_ids.h"
#include "Tessra/base/value.h"

namespace tessra {

/// Builds value trees from the tokens of JSON texts.
///
/// Dictionaries that stand at like places mostly have fields of one kind, in one order, though each may leave out some.
/// So the builder remembers, per place, a shape that has all fields lately seen there, and reads the next dictionary
/// along it: the next field is mostly one of the next few names, and no key is looked up. A place is named by the
/// fields that lead to it; the entries of a list or of a table of ids are one place.
///
/// A text that is a key again and again in one record is a field name, if it looks like one, and is made known as such.
///
/// There is one builder per thread, so that what was learned from one record serves the next, whoever reads it.
class TreeBuilder {
 public:
  static TreeBuilder& of_thread();

  /// The tree of all these tokens; nothing when they are no JSON, for an integer beyond 64 bits, and for nesting beyond
  /// `max_depth`.
  std::optional<Value> build(JsonTokens& tokens, std::size_t max_depth);

 private:
  struct Place {
    std::uint32_t path = 0;  // a hash of the numbers of the fields
    Place of(std::uint32_t number) const { return {(path ^ number) * 0x9E3779B1 + 0x85EBCA6B}; }
    bool operator==(const Place&) const = default;
  };
  /// What is known of the dictionaries at a place.
  struct Usual {
    Place place;
    const KeySet* shape = KeySet::none();
    std::uint32_t unlike = 0;  // dictionaries read before there was a shape
  };
  /// Where the keys and values of an open dictionary begin.
  struct Open {
    std::size_t keys, values, late;
  };
  struct Key {
    Value value;
    /// The number of the last dictionary that was found to have it; null when that is not known. Valid until the next
    /// key is read.
    std::uint64_t* last_with = nullptr;
    bool is_late = false;  // `last_with` is found out later
  };
  /// An id that is a key of an open dictionary but not the one that was expected. Whether the record had it before is
  /// looked up some keys later: until then the index is fetched.
  struct Late {
    std::size_t place;  // of the key
    std::uint32_t hash;
    bool may_be_name;
  };
  TreeBuilder() = default;
  /// Parts with what belongs to a record.
  void forget();
  struct Refused {};  // thrown where the tokens are no JSON, or a limit is met

  Open here() const { return {keys_.size(), values_.size(), late_.size()}; }
  Value build_value(Place place);
  // The token that tells the kind was taken.
  Value build_text();
  Value build_word(std::string_view word, Value value);
  Value build_number();
  Value build_list(Place place);
  Value build_dict(Place place);
  /// The usual shape of a place; the shape without keys when nothing is known of it.
  const KeySet& usual_shape(Place place) const;
  /// What is remembered of a place, from now on if nothing was.
  Usual& usual_at(Place place);
  /// Reads entries along the shape until the end, or the first key that does not stand there. Whether it was the end.
  bool read_along(Place place, const KeySet& shape, Dict& dict);
  /// What the key adds to the place of its value.
  static std::uint32_t number_of(const Value& key);
  /// Reads the entries that are left, whatever they are; `begun` is what has been read along a shape, which may be the
  /// whole of it.
  Dict read_freely(Place place, const Dict& begun, bool is_whole);
  /// Whether the keys since `open` are names.
  bool are_names(Open open) const;
  /// Whether each of the keys since `open`, which are names, is there once.
  bool are_distinct_names(Open open);
  /// The number of the last dictionary that was found to have this name.
  std::uint64_t& last_with(const Name::Rep& name);
  /// Takes what was seen at a place into its usual shape, if the two go together.
  void learn_usual(Usual& usual, const Value* names, std::size_t count);
  /// The values read since `open`, of a dictionary with these keys, or of a list.
  Row* make_row(Open open, const KeySet* keys);
  /// A dictionary of what was read since `open`, with keys of its own; the last of equal keys wins at the place of the
  /// first.
  Dict make_table(Open open, bool is_distinct);
  Key next_key();
  Key key_of(std::string_view text);
  const Name::Rep* learn(std::string_view text, std::uint32_t hash);
  /// Whether a comma comes next, and not the bracket.
  bool goes_on(char closing);
  void expect(char token);
  static Value known(std::optional<Value> value);
  void enter();

  static constexpr int kPlaceBits = 11;
  static constexpr std::size_t kCounted = 4096;

  struct Sighting {
    std::uint32_t hash = 0;
    std::uint32_t times = 0;
    std::uint32_t record = 0;
  };

  JsonTokens* tokens_ = nullptr;
  std::size_t depth_ = 0, max_depth_ = 0;

  // What is read of the containers that are still open.
  std::vector<Value> keys_, values_;
  std::vector<Late> late_;

  std::vector<Usual> usual_ = std::vector<Usual>(std::size_t{1} << kPlaceBits);
  RecordIds ids_;

  std::vector<Sighting> sightings_ = std::vector<Sighting>(kCounted);
  std::uint32_t record_ = 0;
  std::vector<std::uint64_t> last_with_;  // by name number
  std::uint64_t dicts_ = 0;               // begun so far, which numbers them
};

}  // namespace tessra
