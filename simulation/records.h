#pragma once

// How the truth becomes situation records. The places of the record are listed in docs/records.md.

#include "Tessra/base/value.h"
#include "simulation/world.h"

namespace tessra::sim {

/// Makes the records of one episode and remembers the last one, so that the next says only what changed.
class Recorder {
 public:
  /// The full situation. Forgets what happened before.
  Dict full(World& world);
  /// Changes, deletions and key messages since the last record.
  Dict step(World& world);

 private:
  Dict last_;
};

// Parts of the full situation, used by the recorder.

/// Adds the basic, live and position records of a side's units, its weapons in flight and its groups.
void record_units(const World& world, std::size_t side, Dict& basic, Dict& live, Dict& positions);

/// The mission tables of a side, by category.
Dict record_missions(const World& world, std::size_t side);
/// What a side knows about one unit, and where it saw it last.
Dict record_contact(const World& world, const Contact& contact);
Dict record_position(const Motion& motion);
/// Key messages of a side since the last record, by message type; empty when there are none.
Dict record_key_messages(const World& world, std::size_t side);

/// A list of places as records show it.
List record_places(const std::vector<Place>& places);
/// Degrees with six decimals (a tenth of a metre).
double record_degrees(double degrees);
/// Everything else with one decimal.
double record_number(double number);

}  // namespace tessra::sim
