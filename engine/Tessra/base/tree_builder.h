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
/// Dictionaries at corresponding places of records usually have the same fields in the same order, though each may omit
/// some. The builder remembers, per place, a shape with all fields recently seen there, and reads the next dictionary
/// along it: the next field is usually one of the next few names, so no key is looked up. A place is the path of field
/// names that leads to it; all entries of a list or of a table of ids share one place.
///
/// A text that occurs as a key repeatedly in one record, and looks like a field name, is interned as one.
///
/// There is one builder per thread, so that what it learned from one record serves the next, whichever reader is used.
class TreeBuilder {
 public:
  static TreeBuilder& of_thread();

  /// The tree of all these tokens; nothing if they are not JSON, contain an integer beyond 64 bits, or nest deeper than
  /// `max_depth`.
  std::optional<Value> build(JsonTokens& tokens, std::size_t max_depth);

 private:
  struct Place {
    std::uint32_t path = 0;  // hash of the field numbers
    Place of(std::uint32_t number) const { return {(path ^ number) * 0x9E3779B1 + 0x85EBCA6B}; }
    bool operator==(const Place&) const = default;
  };
  /// What is known about the dictionaries at a place.
  struct Usual {
    Place place;
    const KeySet* shape = KeySet::none();
    std::uint32_t unlike = 0;  // dictionaries read before there was a shape
  };
  /// Where the keys and values of an open dictionary begin in the stacks below.
  struct Open {
    std::size_t keys, values, late;
  };
  struct Key {
    Value value;
    /// Number of the last dictionary known to have it; null if unknown. Valid until the next key is read.
    std::uint64_t* last_with = nullptr;
    bool is_late = false;  // `last_with` is looked up later
  };
  /// An unexpected id as a key of an open dictionary. Whether the record had it before is looked up a few keys later;
  /// meanwhile the index slot is prefetched.
  struct Late {
    std::size_t place;  // of the key
    std::uint32_t hash;
    bool may_be_name;
  };
  TreeBuilder() = default;
  /// Drops the state of the current record.
  void forget();
  struct Refused {};  // thrown when the tokens are not JSON, or at a limit

  Open here() const { return {keys_.size(), values_.size(), late_.size()}; }
  Value build_value(Place place);
  // The token that determines the kind has been taken.
  Value build_text();
  Value build_word(std::string_view word, Value value);
  Value build_number();
  Value build_list(Place place);
  Value build_dict(Place place);
  /// The usual shape of a place; the empty shape if nothing is known.
  const KeySet& usual_shape(Place place) const;
  /// The entry of a place, created if missing.
  Usual& usual_at(Place place);
  /// Reads entries along the shape until the end of the dictionary, or the first key not found in it. Returns true at
  /// the end.
  bool read_along(Place place, const KeySet& shape, Dict& dict);
  /// The key's contribution to the place of its value.
  static std::uint32_t number_of(const Value& key);
  /// Reads the remaining entries, whatever their keys; `begun` was read along a shape, completely if `is_whole`.
  Dict read_freely(Place place, const Dict& begun, bool is_whole);
  /// Whether all keys since `open` are names.
  bool are_names(Open open) const;
  /// Whether the keys since `open`, which are names, are distinct.
  bool are_distinct_names(Open open);
  /// Number of the last dictionary known to have this name.
  std::uint64_t& last_with(const Name::Rep& name);
  /// Adds the names seen at a place to its usual shape, if their orders agree.
  void learn_usual(Usual& usual, const Value* names, std::size_t count);
  /// The values read since `open`, for a dictionary with these keys or for a list.
  Row* make_row(Open open, const KeySet* keys);
  /// A dictionary with its own keys from the entries since `open`; of duplicate keys the last value wins, at the place
  /// of the first.
  Dict make_table(Open open, bool is_distinct);
  Key next_key();
  Key key_of(std::string_view text);
  const Name::Rep* learn(std::string_view text, std::uint32_t hash);
  /// Takes a comma (true) or the closing bracket (false).
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

  // Entries of the containers that are still open, as stacks.
  std::vector<Value> keys_, values_;
  std::vector<Late> late_;

  std::vector<Usual> usual_ = std::vector<Usual>(std::size_t{1} << kPlaceBits);
  RecordIds ids_;

  std::vector<Sighting> sightings_ = std::vector<Sighting>(kCounted);
  std::uint32_t record_ = 0;
  std::vector<std::uint64_t> last_with_;  // by name number
  std::uint64_t dicts_ = 0;               // dictionaries begun so far; gives each its number
};

}  // namespace tessra
