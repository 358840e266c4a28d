#pragma once

#include <cstdint>
#include <random>

namespace tessra::sim {

/// The episode's luck. Reals are made from the generator's bits by hand, since the library's distributions differ from
/// one standard library to the next.
class Dice {
 public:
  explicit Dice(std::uint64_t seed) : bits_(seed) {}

  /// True with this chance, 0 to 1. Always draws once.
  bool happens(double chance) { return real() < chance; }

 private:
  /// From 0 up to but excluding 1, in steps of 2⁻⁵³.
  double real() { return static_cast<double>(bits_() >> 11) * 0x1p-53; }

  std::mt19937_64 bits_;
};

}  // namespace tessra::sim
