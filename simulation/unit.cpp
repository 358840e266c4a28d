#include "simulation/unit.h"

#include <fmt/format.h>

#include <algorithm>

namespace tessra::sim {

double top_speed(const Unit& unit) {
  return unit.platform->max_speed * (1 - 0.5 * unit.damage / unit.platform->damage_points);
}

void set_course(Unit& unit, std::vector<Place> course) {
  unit.course = std::move(course);
  unit.leg.reset();
}

void rearm(Unit& unit) {
  unit.mounts.clear();
  for (const MountType& type : unit.platform->mounts) {
    Mount mount{fmt::format("{}-mount-{}", unit.id, unit.mounts.size() + 1), &type, {}};
    for (const MountType::Load& load : type.loads) {
      mount.records.push_back(
          {fmt::format("{}-load-{}", unit.id, ++unit.records_made), load.weapon, load.count, load.count});
    }
    unit.mounts.push_back(std::move(mount));
  }
}

const WeaponRecord* choose_weapon(const Unit& unit, UnitKind target, const WeaponType* wanted) {
  const WeaponRecord* best = nullptr;
  for (const Mount& mount : unit.mounts) {
    for (const WeaponRecord& record : mount.records) {
      if (!record.type->targets.has(target) || (wanted != nullptr && record.type != wanted)) continue;
      if (best == nullptr || record.type->range > best->type->range) best = &record;
    }
  }
  return best;
}

bool carries(const Unit& unit, UnitKind target, const WeaponType* wanted) {
  if (!unit.at_base) return choose_weapon(unit, target, wanted) != nullptr;
  return std::ranges::any_of(unit.platform->mounts, [&](const MountType& mount) {
    return std::ranges::any_of(mount.loads, [&](const MountType::Load& load) {
      return load.weapon->targets.has(target) && (wanted == nullptr || load.weapon == wanted);
    });
  });
}

}  // namespace tessra::sim
