#pragma once

// Situations of any size for the benchmarks: sides with units, contacts and missions, and updates that touch every
// place of the record which the engine reads. All of it comes from a seed.

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "Tessra/base/value.h"

namespace tessra::bench {

struct SituationOptions {
  int units = 1000;
  int updates = 100;
  /// Share of the units, contacts and missions that one update touches.
  double change_share = 0.2;
  /// Share of its live fields that a changed unit or contact carries, drawn for each anew. With 1, all that are alike
  /// carry the same fields.
  double field_share = 0.4;
  /// Whether two of the sides are friends, which share their contacts and know each other's units.
  bool friends = true;
  std::uint64_t seed = 1;
};

/// An episode as the service would send it, and what the model must hold after it.
struct Situations {
  /// Side id → `Name` and `Friend`. Two of the three sides are friends; each side has an agent.
  Dict sides;
  /// JSON texts.
  std::string initial;
  std::vector<std::string> updates;

  // After the last update.

  /// Units and missions that are left.
  std::size_t elements = 0;
  /// Unit id → its `Lon`, for the units that are left.
  std::vector<std::pair<std::string, double>> longitudes;
  /// Per side, by name: the contacts that its own sensors hold.
  std::vector<std::pair<std::string, std::vector<std::string>>> own_contacts;
};

Situations make_situations(const SituationOptions& options);

}  // namespace tessra::bench
