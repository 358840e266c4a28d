#pragma once

// Situation records from the state of the world. docs/records.md lists their fields.

#include "Tessra/base/value.h"
#include "simulation/world.h"

namespace tessra::sim {

/// Makes the records of one episode. Keeps the last one, so that the next contains only what changed.
class Recorder {
 public:
  /// The full situation. Later updates are relative to it.
  Dict full(World& world);
  /// Changes, deletions and key messages since the last record.
  Dict step(World& world);

 private:
  Dict last_;
};

// Parts of the full situation.

/// Adds the basic, live and position records of a side's units, its weapons in flight and its groups.
void record_units(const World& world, std::size_t side, Dict& basic, Dict& live, Dict& positions);

/// The mission tables of a side, by category.
Dict record_missions(const World& world, std::size_t side);
/// The fields of a contact, without its position.
Dict record_contact(const World& world, const Contact& contact);
Dict record_position(const Motion& motion);
/// Key messages of a side since the last record, by message type; empty when there are none.
Dict record_key_messages(const World& world, std::size_t side);

/// A list of places as records show it.
List record_places(const std::vector<Place>& places);
/// Degrees with six decimals (a tenth of a metre).
double record_degrees(double degrees);
/// All other reals, with one decimal.
double record_number(double number);

}  // namespace tessra::sim
