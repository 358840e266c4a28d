#pragma once

// Generated situations of any size for the benchmarks: sides with units, contacts and missions, and updates that touch
// every part of a record that the engine reads. Reproducible from a seed.

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "Tessra/base/value.h"

namespace tessra::bench {

struct SituationOptions {
  int units = 1000;
  int updates = 100;
  /// Fraction of the units, contacts and missions that one update touches.
  double change_share = 0.2;
  /// Fraction of its live fields that a changed unit or contact carries, chosen at random for each. With 1, all changes
  /// of a kind carry the same fields.
  double field_share = 0.4;
  /// Whether two of the sides are friends, which share their contacts and know each other's units.
  bool friends = true;
  std::uint64_t seed = 1;
};

/// An episode as a service would send it, and the expected model after it.
struct Situations {
  /// Side id → `Name` and `Friend`. Two of the three sides are friends; each side has an agent.
  Dict sides;
  /// JSON texts.
  std::string initial;
  std::vector<std::string> updates;

  // Expected after the last update.

  /// Number of remaining units and missions.
  std::size_t elements = 0;
  /// Unit id → `Lon`, for the remaining units.
  std::vector<std::pair<std::string, double>> longitudes;
  /// Per side name: the contacts of its own sensors.
  std::vector<std::pair<std::string, std::vector<std::string>>> own_contacts;
};

Situations make_situations(const SituationOptions& options);

}  // namespace tessra::bench
