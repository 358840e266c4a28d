#include "simulation/sensing.h"

#include <algorithm>

#include "simulation/tracking.h"

namespace tessra::sim {

namespace {

constexpr double kUnderWater = -1;  // metres; deeper units are hidden from all sensors but sonar

bool emits(const Unit& unit) {
  if (!unit.radar_on) return false;
  return std::any_of(unit.platform->sensors.begin(), unit.platform->sensors.end(),
                     [](const SensorType* sensor) { return sensor->kind == SensorKind::radar; });
}

/// Keeps only the latest detection per side and contact: a record reports no more.
void remember(World& world, Detection detection) {
  for (Detection& earlier : world.detections) {
    if (earlier.side == detection.side && earlier.contact == detection.contact) {
      earlier = std::move(detection);
      return;
    }
  }
  world.detections.push_back(std::move(detection));
}

void note_detection(World& world, const Look& look) {
  const Unit& unit = look.unit;
  const Contact& contact = *contact_on(world, unit.side, look.target);
  const std::string sensor = unit.id + "-" + unit.platform->sensors[look.sensor]->name;
  remember(world, {unit.side, contact.id, sensor, world.now, distance_between(unit.motion.place, contact.seen.place)});
}

/// Whether the side still has a contact on a facility that may be destroyed: a look at the place reveals it.
bool is_wreck_in_question(const World& world, std::size_t side, std::size_t index) {
  const Unit& unit = world.units[index];
  return unit.platform->kind == UnitKind::facility && contact_on(world, side, index) != nullptr;
}

void look_at(World& world, const Unit& unit, std::size_t sensor_place, std::size_t index) {
  const SensorType& sensor = *unit.platform->sensors[sensor_place];
  const Unit& target = world.units[index];
  const double reach = sensor_reach(world, unit, sensor, target);
  // From cheap to expensive: nearly all pairs fail the bound on the sphere.
  if (reach <= 0 || !may_be_within(unit.sphere, target.sphere, reach)) return;
  const Way way = way_between(unit.motion.place, target.motion.place);
  if (way.metres > reach) return;
  if (!world.dice.happens(sensor.chance, Luck::look, world.now, {unit.key, sensor_place, target.key})) return;
  if (!target.alive) return learn_of_loss(world, unit.side, index);
  const Look look{unit, sensor_place, index, way, reach};
  renew_contact(world, look);
  note_detection(world, look);
}

void look_around(World& world, const Unit& unit, std::size_t sensor_place) {
  const SensorType& sensor = *unit.platform->sensors[sensor_place];
  // In the order of keys: the numbers of new contacts must not reveal the order of the file.
  for (const std::size_t index : world.by_key) {
    const Unit& target = world.units[index];
    if (target.at_base || !sensor.targets.has(target.platform->kind)) continue;
    if (is_friend(world, unit.side, target.side)) continue;
    if (target.alive || is_wreck_in_question(world, unit.side, index)) look_at(world, unit, sensor_place, index);
  }
}

void forget_lost_contacts(World& world) {
  for (SideState& side : world.sides) {
    std::erase_if(side.contacts, [&](const auto& entry) {
      return !is_fixed(world, entry.second) && world.now - entry.second.last_seen > kContactLost;
    });
  }
}

}  // namespace

double sensor_reach(const World& world, const Unit& unit, const SensorType& sensor, const Unit& target) {
  const double horizon =
      horizon_metres(unit.motion.height + unit.platform->mast, target.motion.height + target.platform->mast);
  const bool hidden = target.motion.height < kUnderWater || unit.motion.height < kUnderWater;
  const double range = sensor.range * target.platform->signature;
  switch (sensor.kind) {
    case SensorKind::sonar:
      return range;
    case SensorKind::radar:
      return hidden || !unit.radar_on ? 0 : std::min(range, horizon);
    case SensorKind::visual:
      return hidden ? 0 : std::min(range * world.scenario->visibility, horizon);
    case SensorKind::listener:
      return hidden || !emits(target) ? 0 : std::min(sensor.range, horizon);
  }
  return 0;
}

bool has_in_reach(const World& world, std::size_t side, const Unit& target) {
  if (target.at_base) return false;
  return std::ranges::any_of(world.units, [&](const Unit& unit) {
    if (!unit.alive || unit.at_base || unit.side != side) return false;
    return std::ranges::any_of(unit.platform->sensors, [&](const SensorType* sensor) {
      if (!sensor->targets.has(target.platform->kind)) return false;
      const double reach = sensor_reach(world, unit, *sensor, target);
      return reach > 0 && may_be_within(unit.sphere, target.sphere, reach) &&
             distance_between(unit.motion.place, target.motion.place) <= reach;
    });
  });
}

void use_sensors(World& world) {
  for (const std::size_t index : world.by_key) {
    const Unit& unit = world.units[index];
    if (!unit.alive || unit.at_base) continue;
    const auto& sensors = unit.platform->sensors;
    for (std::size_t place = 0; place < sensors.size(); ++place) {
      if (is_turn_of(unit, world.now, sensors[place]->look_seconds)) look_around(world, unit, place);
    }
  }
  forget_lost_contacts(world);
}

}  // namespace tessra::sim
