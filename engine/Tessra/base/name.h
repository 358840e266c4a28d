#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace tessra {

/// The hash every dictionary key is looked up by.
std::uint32_t hash_text(std::string_view text);

/// A field name, kept once per process.
///
/// The service repeats its field names for every unit, so they are kept in one table that lives as long as the
/// process: equal names are one pointer, their hash is known, and a value that holds one needs no allocation.
/// Reading the table takes no lock. Ids are never put there: the table only grows.
class Name {
 public:
  /// Most names that may be added while the program runs, beside those the program knows when it is built.
  static constexpr std::size_t kMaxAdded = 65'536;

  /// A name the program knows when it is built. For constants at namespace scope; does not count as added.
  explicit Name(std::string_view known) : rep_(insert(known, false)) {}

  /// The name with these bytes, if it is known already.
  static std::optional<Name> find(std::string_view text);

  /// The name with these bytes, added when new. Throws `LimitError` when `kMaxAdded` names were added.
  static Name intern(std::string_view text) { return Name(insert(text, true)); }

  std::string_view text() const { return {rep_->bytes, rep_->size}; }
  std::uint32_t hash() const { return rep_->hash; }

  /// Equal names are one name.
  friend bool operator==(Name a, Name b) { return a.rep_ == b.rep_; }

 private:
  friend class Value;
  friend class KeyRef;

  struct Rep {
    const char* bytes;
    std::uint32_t size;
    std::uint32_t hash;
  };

  explicit Name(const Rep* rep) : rep_(rep) {}
  static const Rep* insert(std::string_view text, bool counted);
  static const Rep* lookup(std::string_view text, std::uint32_t hash);

  const Rep* rep_;
};

}  // namespace tessra
