#pragma once

// Looking at several bytes of a text at once.

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace tessra::detail {

/// Up to eight bytes as a word with zeros behind them.
inline std::uint64_t load(const char* bytes, std::size_t count) {
  std::uint64_t loaded = 0;
  std::memcpy(&loaded, bytes, count);
  return loaded;
}

/// The same, by loads of fixed sizes, which may overlap.
inline std::uint64_t load_up_to_8(const char* bytes, std::size_t count) {
  if (count == 8) return load(bytes, 8);
  if (count >= 4) return load(bytes, 4) | load(bytes + count - 4, 4) << 8 * (count - 4);
  if (count == 0) return 0;
  const auto byte = [bytes](std::size_t at) {
    return static_cast<std::uint64_t>(static_cast<unsigned char>(bytes[at]));
  };
  return byte(0) | byte(count / 2) << 8 * (count / 2) | byte(count - 1) << 8 * (count - 1);
}

/// A word with this in each of its bytes.
template <class Word = std::uint64_t>
constexpr Word each(unsigned byte) {
  return ~Word{0} / 0xFF * byte;
}

/// The highest bit of each byte of a word that is this one, and perhaps of some behind the first of those.
template <class Word>
Word equal_bytes(Word word, unsigned byte) {
  const Word differ = word ^ each<Word>(byte);
  return (differ - each<Word>(1)) & ~differ & each<Word>(0x80);
}

}  // namespace tessra::detail
