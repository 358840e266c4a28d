#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "Tessra/base/bytes.h"

namespace tessra {

namespace detail {

/// The first bytes of a text and its size: enough to tell most field names apart in one comparison, without a branch on
/// their size.
struct Front {
  static constexpr std::size_t kBytes = 16;

  /// `kBytes` bytes must be readable, however short the text is.
  Front(const char* bytes, std::size_t text_size) : size(text_size) {
    const Words& of_text = kOfText[std::min(text_size, kBytes)];
    words = {load(bytes, 8) & of_text.low, load(bytes + 8, 8) & of_text.high};
  }
  bool operator==(const Front& other) const {
    return ((words.low ^ other.words.low) | (words.high ^ other.words.high) | (size ^ other.size)) == 0;
  }

  struct Words {
    std::uint64_t low, high;
  };
  Words words;  // zero-padded
  std::size_t size;

 private:
  /// For each size, the mask of the bits that belong to the text.
  static constexpr auto kOfText = [] {
    std::array<Words, kBytes + 1> masks{};
    for (std::size_t size = 1; size <= kBytes; ++size) {
      std::uint64_t& last = size <= 8 ? masks[size].low : masks[size].high;
      masks[size] = masks[size - 1];
      last = last << 8 | 0xFF;
    }
    return masks;
  }();
};

/// The two halves of a 128-bit product, combined by xor.
inline std::uint64_t mixed(std::uint64_t a, std::uint64_t b) {
  __extension__ using Wide = unsigned __int128;
  const Wide product = static_cast<Wide>(a) * b;
  return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
}

}  // namespace detail

/// The hash of every dictionary key. Inline, so that the compiler computes it for literals.
inline std::uint32_t hash_text(std::string_view text) {
  constexpr std::uint64_t kFirst = 0x9E3779B97F4A7C15;
  constexpr std::uint64_t kSecond = 0xD1B54A32D192ED03;
  const char* at = text.data();
  std::size_t left = text.size();
  std::uint64_t hash = left * kFirst;
  for (; left > 16; at += 16, left -= 16) {
    hash = detail::mixed(detail::load(at, 8) ^ hash ^ kFirst, detail::load(at + 8, 8) ^ kSecond);
  }
  // The last bytes, loaded from both ends; the loads may overlap.
  std::uint64_t front = 0;
  std::uint64_t back = 0;
  if (left >= 8) {
    front = detail::load(at, 8);
    back = detail::load(at + left - 8, 8);
  } else if (left >= 4) {
    front = detail::load(at, 4);
    back = detail::load(at + left - 4, 4);
  } else if (left > 0) {
    front = static_cast<unsigned char>(at[0]) | static_cast<std::uint64_t>(static_cast<unsigned char>(at[left / 2]))
                                                    << 8;
    back = static_cast<unsigned char>(at[left - 1]);
  }
  hash = detail::mixed(front ^ hash ^ kFirst, back ^ kSecond);
  return static_cast<std::uint32_t>(hash ^ hash >> 32);
}

/// An interned field name.
///
/// The service repeats its field names for every unit, so they are interned in one table that lives as long as the
/// process: equal names are one pointer, their hash is precomputed, and a value that holds one needs no allocation.
/// Reading the table takes no lock. The table only grows, so ids are never interned.
class Name {
 public:
  /// Maximum number of names added at run time, besides those known at compile time.
  static constexpr std::size_t kMaxAdded = 65'536;

  /// A name known at compile time. For constants at namespace scope; does not count as added.
  explicit Name(std::string_view known) : rep_(insert(known, false)) {}

  /// The name with this text, if it is already known.
  static std::optional<Name> find(std::string_view text);

  /// The name with this text, added if new. Throws `LimitError` once `kMaxAdded` names were added.
  static Name intern(std::string_view text) { return Name(insert(text, true)); }
  /// The same, but returns nothing once `kMaxAdded` names were added.
  static std::optional<Name> learn(std::string_view text);

  std::string_view text() const { return {rep_->bytes, rep_->size}; }
  std::uint32_t hash() const { return rep_->hash; }

  /// Names are interned, so equality is identity.
  friend bool operator==(Name a, Name b) { return a.rep_ == b.rep_; }

 private:
  friend class Value;
  friend class KeyRef;
  friend class KeySet;
  friend class TreeBuilder;

  struct Rep {
    const char* bytes;  // at least `Front::kBytes` are readable
    std::uint32_t size;
    std::uint32_t hash;
    std::uint32_t number;  // from 0, in the order of interning
    detail::Front front;
  };

  explicit Name(const Rep* rep) : rep_(rep) {}
  static const Rep* insert(std::string_view text, bool counted);
  static const Rep* lookup(std::string_view text, std::uint32_t hash);

  const Rep* rep_;
};

}  // namespace tessra
