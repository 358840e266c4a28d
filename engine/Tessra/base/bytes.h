#pragma once

// Comparing several bytes of a text at once, by arithmetic on a machine word.

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace tessra::detail {

/// Up to eight bytes as a zero-padded word.
inline std::uint64_t load(const char* bytes, std::size_t count) {
  std::uint64_t loaded = 0;
  std::memcpy(&loaded, bytes, count);
  return loaded;
}

/// The same, with loads of fixed sizes that may overlap: no call to memcpy with a variable size.
inline std::uint64_t load_up_to_8(const char* bytes, std::size_t count) {
  if (count == 8) return load(bytes, 8);
  if (count >= 4) return load(bytes, 4) | load(bytes + count - 4, 4) << 8 * (count - 4);
  if (count == 0) return 0;
  const auto byte = [bytes](std::size_t at) {
    return static_cast<std::uint64_t>(static_cast<unsigned char>(bytes[at]));
  };
  return byte(0) | byte(count / 2) << 8 * (count / 2) | byte(count - 1) << 8 * (count - 1);
}

/// A word with `byte` in each of its bytes.
template <class Word = std::uint64_t>
constexpr Word each(unsigned byte) {
  return ~Word{0} / 0xFF * byte;
}

/// Sets the highest bit of each byte of `word` that equals `byte`. Bytes after the first match may be false positives,
/// since the subtraction borrows.
template <class Word>
Word equal_bytes(Word word, unsigned byte) {
  const Word differ = word ^ each<Word>(byte);
  return (differ - each<Word>(1)) & ~differ & each<Word>(0x80);
}

}  // namespace tessra::detail
