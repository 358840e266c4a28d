#pragma once

#include "Tessra/base/name.h"

/// Fields that the engine writes into elements or reads from every record. As interned names they compare by pointer,
/// and elements built alike share their keys; the same text as a literal would become a name only after many
/// occurrences.
namespace tessra::names {

inline const Name kAI("AI");
inline const Name kActiveUnit("ActiveUnit");
inline const Name kActualUnitID("ActualUnitID");
inline const Name kAge("Age");
inline const Name kCargos("Cargos");
inline const Name kDoctrine("Doctrine");
inline const Name kElementType("ElementType");
inline const Name kGameServer("_game_server");
inline const Name kId("ID");
inline const Name kIDStatus("IDStatus");
inline const Name kLon("Lon");
inline const Name kMagazineWeaponRecs("MagazineWeaponRecs");
inline const Name kMapdel("mapdel");
inline const Name kMounts("Mounts");
inline const Name kName("Name");
inline const Name kNavigator("Navigator");
inline const Name kSide("Side");
inline const Name kType("Type");
inline const Name kUnitType("UnitType");
inline const Name kWRA("WRA");
inline const Name kWeaponRecs("WeaponRecs");

}  // namespace tessra::names
