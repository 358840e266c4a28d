#pragma once

// Counter-based random numbers: every event has its own number, a hash of the episode's seed, the tick, the kind of
// event and the units involved. Events elsewhere and the order of units therefore cannot change the outcome, as they
// would with a shared generator.

#include <cstdint>
#include <initializer_list>
#include <string_view>

namespace tessra::sim {

/// The step of SplitMix64 (Steele, Lea, Flood 2014): a bijection in which every input bit affects all output bits.
constexpr std::uint64_t mixed(std::uint64_t bits) {
  bits += 0x9e3779b97f4a7c15U;
  bits = (bits ^ (bits >> 30)) * 0xbf58476d1ce4e5b9U;
  bits = (bits ^ (bits >> 27)) * 0x94d049bb133111ebU;
  return bits ^ (bits >> 31);
}

/// Hash of two texts that distinguishes ("ab", "c") from ("a", "bc"): FNV-1a (Fowler, Noll, Vo), finalised by `mixed`.
constexpr std::uint64_t text_key(std::string_view first, std::string_view second) {
  std::uint64_t hash = 0xcbf29ce484222325U;
  for (const std::string_view text : {first, second}) {
    for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3U;
    hash = mixed(hash ^ text.size());
  }
  return hash;
}

/// The kind of event: different events of the same units in the same tick get independent numbers.
enum class Luck : std::uint64_t { look = 1, identify, bearing, range, height, speed_north, speed_east, hit };

class Dice {
 public:
  explicit Dice(std::uint64_t seed) : seed_(seed) {}

  /// A number for a key that differs from episode to episode.
  std::uint64_t number(std::uint64_t key) const { return mixed(seed_ ^ mixed(key)); }

  /// True with probability `chance`, 0 to 1. `about`: the keys of the units involved, and whatever else distinguishes
  /// the event from others.
  bool happens(double chance, Luck luck, int tick, std::initializer_list<std::uint64_t> about) const {
    return uniform(hash(luck, tick, about)) < chance;
  }

  /// A random number with mean 0, standard deviation 1 and absolute value at most 3: a scaled sum of three uniform
  /// numbers (Irwin-Hall distribution). Close to normal, and bit-identical with every math library.
  double deviation(Luck luck, int tick, std::initializer_list<std::uint64_t> about) const {
    const std::uint64_t bits = hash(luck, tick, about);
    return 2 * (uniform(mixed(bits)) + uniform(mixed(bits + 1)) + uniform(mixed(bits + 2)) - 1.5);
  }

 private:
  std::uint64_t hash(Luck luck, int tick, std::initializer_list<std::uint64_t> about) const {
    std::uint64_t bits = mixed(seed_ ^ mixed(static_cast<std::uint64_t>(tick)));
    bits = mixed(bits ^ static_cast<std::uint64_t>(luck));
    for (const std::uint64_t key : about) bits = mixed(bits ^ key);
    return bits;
  }
  /// In [0, 1), in steps of 2⁻⁵³.
  static double uniform(std::uint64_t bits) { return static_cast<double>(bits >> 11) * 0x1p-53; }

  std::uint64_t seed_;
};

}  // namespace tessra::sim
