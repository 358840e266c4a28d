#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace tessra {

/// A number of a JSON text, by its bits.
struct JsonNumber {
  enum class Kind { unusual, integer, real };
  std::uint64_t bits = 0;
  Kind kind = Kind::unusual;
};

/// Reads the usual numbers: integers of up to 16 digits and reals with a point. Others, be they right or wrong, are
/// unusual. `readable` bytes can be read from where the text begins: with more than 16, short numbers take no loop.
JsonNumber read_number(std::string_view text, std::size_t readable);

}  // namespace tessra
