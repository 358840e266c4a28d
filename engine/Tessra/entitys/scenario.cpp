#include "Tessra/entitys/scenario.h"

namespace tessra {

const FieldTable& Scenario::fields() {
  static const FieldTable table{
      {"Name", Kind::string},
      {"Side", Kind::string},
      {"ElementType", Kind::integer},
      {"ScenarioID", Kind::string},
      {"Title", Kind::string},
      // No defaults for the clock: any guess would be wrong. Milliseconds since 1970, and the duration in seconds.
      {"Time", Kind::integer, false},
      {"StartTime", Kind::integer, false},
      {"Duration", Kind::integer, false},
      {"SimulationSpeed", Kind::integer},
      {"NonActiveUnits", Kind::dictionary},
      {"THNonActiveUnitColl", Kind::dictionary},
      {"SimEvents", Kind::dictionary},
      {"EventTriggers", Kind::dictionary},
      {"EventConditions", Kind::dictionary},
      {"EventActions", Kind::dictionary},
  };
  return table;
}

}  // namespace tessra
