#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace tessra {

/// A number of a JSON text, as the bits of an integer or a real.
struct JsonNumber {
  enum class Kind { unusual, integer, real };
  std::uint64_t bits = 0;
  Kind kind = Kind::unusual;
};

/// Reads common numbers: integers of up to 16 digits and reals with a point. All others, valid or not, are `unusual`.
/// `readable` bytes may be read from the start of the text; with more than 16, short numbers are read without a loop.
JsonNumber read_number(std::string_view text, std::size_t readable);

}  // namespace tessra
