#pragma once

// Whole episodes of service records from a seed: every place of the record that the engine reads, in random company.

#include <cstdint>
#include <vector>

#include "Tessra/base/value.h"

namespace tessra::testing {

/// Every number is at least one.
struct GeneratorOptions {
  std::uint64_t seed = 1;
  /// Sides of the scenario; those with numbers of the same parity are friends.
  int sides = 4;
  /// The first so many sides are played by an agent each.
  int agent_sides = 3;
  int units_per_side = 26;
  int contacts_per_side = 12;
  /// Share of the units, contacts and missions that one update touches.
  double change_share = 0.3;
  /// With gaps, records miss parts, names and types, name unknown ids and categories, and carry unheard fields.
  /// Without, an episode raises no error message.
  bool gaps = true;
};

struct GeneratedEpisode {
  /// A standard-mode game configuration: the class "idle" for every agent.
  Dict config;
  /// Side id → `Name` and `Friend`, as the service's data channel gives it.
  Dict sides_info;
  /// Records are consumed by the engine that plays them: copy deeply what is needed again.
  Dict initial;
  std::vector<Dict> updates;
};

GeneratedEpisode generate_episode(const GeneratorOptions& options, int updates);

}  // namespace tessra::testing
