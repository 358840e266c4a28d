#include "simulation/scoring.h"

namespace tessra::sim {

namespace {

bool is_defenceless(const World& world, std::size_t side) {
  bool had_armed_units = false;
  for (const Unit& unit : world.units) {
    if (unit.side != side || !unit.platform->armed()) continue;
    if (unit.alive) return false;
    had_armed_units = true;
  }
  return had_armed_units;
}

}  // namespace

void book_loss(World& world, const Unit& unit) {
  const double value = unit.platform->value;
  world.sides[unit.side].score -= value;
  ++world.sides[unit.side].units_lost;
  for (std::size_t other = 0; other < world.sides.size(); ++other) {
    if (is_hostile(world, other, unit.side)) world.sides[other].score += value;
  }
}

void check_end(World& world) {
  if (world.now >= world.scenario->duration) world.over = true;
  for (std::size_t side = 0; side < world.sides.size(); ++side) {
    if (is_defenceless(world, side)) world.over = true;
  }
}

}  // namespace tessra::sim
