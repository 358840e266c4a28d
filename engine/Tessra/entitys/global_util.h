#pragma once

#include "Tessra/base/value.h"

namespace tessra {

/// The type of an element. The values are the service's codes; missions are 11 to 17.
enum class ElementType : int {
  Scenario = 1,
  Side = 2,
  Group = 3,
  Aircraft = 4,
  Ship = 5,
  Submarine = 6,
  Satellite = 7,
  Facility = 8,
  Weapon = 9,
  StrikeMission = 11,
  PatrolMission = 12,
  SupportMission = 13,
  FerryMission = 14,
  MineMission = 15,
  MineClearMission = 16,
  CargoMission = 17,
};

/// The element type of a category key of the situation (`Aircraft`, …, `Strike`, …); null for any other key.
const ElementType* classname2element(const KeyRef& category);

}  // namespace tessra
