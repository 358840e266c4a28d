#include "simulation/scoring.h"

namespace tessra::sim {

namespace {

/// Whether the side had armed units and lost them all. A side that never had any cannot lose this way.
bool is_defenceless(const World& world, std::size_t side) {
  bool had_armed_units = false;
  for (const Unit& unit : world.units) {
    if (unit.side != side || !unit.platform->armed()) continue;
    if (unit.alive) return false;
    had_armed_units = true;
  }
  return had_armed_units;
}

void book(World& world, std::size_t loser, double value, std::size_t by) {
  world.sides[loser].score -= value;
  if (by != kNobody && is_hostile(world, by, loser)) world.sides[by].score += value;
}

}  // namespace

void book_damage(World& world, const Unit& unit, double points, std::size_t by) {
  book(world, unit.side, kDamageShare * unit.platform->value * points / unit.platform->damage_points, by);
}

void book_loss(World& world, const Unit& unit, std::size_t by) {
  // The damage so far has been scored already.
  ++world.sides[unit.side].units_lost;
  book(world, unit.side, unit.platform->value * (1 - kDamageShare * unit.damage / unit.platform->damage_points), by);
}

namespace {

/// Whether the side is hostile to anyone; the loss of a bystander does not end the episode.
bool is_belligerent(const World& world, std::size_t side) {
  for (std::size_t other = 0; other < world.sides.size(); ++other) {
    if (is_hostile(world, side, other)) return true;
  }
  return false;
}

}  // namespace

void check_end(World& world) {
  if (world.now >= world.scenario->duration) world.over = true;
  for (std::size_t side = 0; side < world.sides.size(); ++side) {
    if (!is_belligerent(world, side) || !is_defenceless(world, side)) continue;
    world.over = true;
    world.beaten = side;
  }
}

}  // namespace tessra::sim
