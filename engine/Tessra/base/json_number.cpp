// Records are full of numbers, so common ones are read without loops and branches; everything else falls back to the
// standard library or to simdjson.

#include "Tessra/base/json_number.h"

#include <bit>
#include <charconv>
#include <cstring>

#include "Tessra/base/bytes.h"

namespace tessra {

namespace {

using detail::each;

__extension__ using Wide = unsigned __int128;

bool is_digit(char c) { return c >= '0' && c <= '9'; }

/// The number whose decimal digits are the bytes of a word, first digit in the lowest byte. Three multiplications
/// combine digits to pairs, pairs to groups of four, and those to the whole, all lanes at once.
std::uint64_t number_of(std::uint64_t digits) {
  digits = digits * (10 * 0x100 + 1) >> 8;
  digits = (digits & 0x00FF00FF00FF00FF) * (100 * 0x10000 + 1) >> 16;
  return (digits & 0x0000FFFF0000FFFF) * (10'000 * 0x100000000 + 1) >> 32;
}
std::uint64_t number_of(Wide digits) {
  const auto eight = [](Wide half) { return number_of(static_cast<std::uint64_t>(half)); };
  return eight(digits) * 100'000'000 + eight(digits >> 64);
}

int lowest_bit(std::uint64_t word) { return std::countr_zero(word); }
int lowest_bit(Wide word) {
  const auto low = static_cast<std::uint64_t>(word);
  return low != 0 ? lowest_bit(low) : 64 + lowest_bit(static_cast<std::uint64_t>(word >> 64));
}

/// Up to the 14 fraction digits that `read_short` can meet.
constexpr double kPowersOfTen[] = {1, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14};

/// Digits, possibly with a point between them. They must fit into the word, and as many bytes as the word has must be
/// readable. Lengths of numbers and positions of points cannot be predicted, so nothing here branches on them.
///
/// An integer of at most 15 digits and a power of ten up to 10^14 are exact as reals, so their quotient is correctly
/// rounded (W. D. Clinger, "How to Read Floating Point Numbers Accurately", 1990).
template <class Word>
JsonNumber read_short(std::string_view text, bool is_negative) {
  constexpr int kBytes = sizeof(Word);
  const int size = static_cast<int>(text.size());
  Word digits;
  std::memcpy(&digits, text.data(), kBytes);
  // Digit values in the highest bytes, preceded by zeros. '0' is 0x30, so xor subtracts it.
  digits = (digits ^ each<Word>('0')) << 8 * (kBytes - size);

  // Digits before the point move up by one byte to close the gap.
  const Word points = detail::equal_bytes(digits, '.' ^ '0');
  const bool is_real = points != 0;
  const int point = lowest_bit(points | Word{1} << (8 * kBytes - 1)) / 8;  // the last place when there is none
  // `point` is in range, since the highest bit was set in the search above.
  const Word unit = Word{is_real} << 8 * point;  // NOLINT(clang-analyzer-core.UndefinedBinaryOperatorResult)
  const Word before = unit - is_real;
  const Word behind = ~(before | ((unit << 8) - unit));
  digits = (digits & before) << 8 | (digits & behind);

  const int fraction = kBytes - 1 - point;
  // No byte above 9: adding 0x76 sets the top bit of such a byte, unless it was set before.
  const bool are_digits = (((digits + each<Word>(0x80 - 10)) | digits) & each<Word>(0x80)) == 0;
  const bool is_bare = is_real & ((fraction == 0) | (fraction == size - 1));
  // For a single digit, first[1] is the byte after the number: not part of the text, but readable.
  const char* const first = text.data();
  const bool is_padded = (first[0] == '0') & is_digit(first[1]);
  if (!are_digits | is_bare | is_padded) return {};
  const std::uint64_t number = number_of(digits);
  const double real = static_cast<double>(static_cast<std::int64_t>(number)) / kPowersOfTen[fraction];
  const std::uint64_t sign{is_negative};
  const std::uint64_t of_real = std::bit_cast<std::uint64_t>(real) | sign << 63;
  const std::uint64_t of_integer = (number ^ (0 - sign)) + sign;
  const std::uint64_t chosen = 0 - std::uint64_t{is_real};
  return {(of_real & chosen) | (of_integer & ~chosen), is_real ? JsonNumber::Kind::real : JsonNumber::Kind::integer};
}

/// Not inlined, so that the common short case need not save registers for it.
[[gnu::noinline]] JsonNumber read_wide(std::string_view text, bool is_negative) {
  return read_short<Wide>(text, is_negative);
}

/// A real with a point, of any length.
[[gnu::noinline]] JsonNumber read_long(std::string_view text) {
  const std::string_view digits = text.substr(text.starts_with('-') ? 1 : 0);
  // `from_chars` accepts more than JSON: leading zeros, points without digits on both sides, words such as "inf".
  const std::size_t point = digits.find('.');
  if (point == 0 || point == std::string_view::npos || (digits[0] == '0' && point != 1)) return {};
  if (!is_digit(digits[0]) || point + 1 == digits.size() || !is_digit(digits[point + 1])) return {};
  double real = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), real);
  if (error != std::errc() || end != text.data() + text.size()) return {};
  return {std::bit_cast<std::uint64_t>(real), JsonNumber::Kind::real};
}

}  // namespace

JsonNumber read_number(std::string_view text, std::size_t readable) {
  const bool is_negative = text.starts_with('-');
  const std::string_view digits = text.substr(is_negative ? 1 : 0);
  if (digits.empty() || digits.size() > sizeof(Wide) || readable <= sizeof(Wide)) return read_long(text);
  if (digits.size() > sizeof(std::uint64_t)) return read_wide(digits, is_negative);
  return read_short<std::uint64_t>(digits, is_negative);
}

}  // namespace tessra
