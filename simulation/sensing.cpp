#include "simulation/sensing.h"

#include <algorithm>

namespace tessra::sim {

namespace {

constexpr double kUnderWater = -1;  // metres; what is deeper is hidden from all but sonar

bool emits(const Unit& unit) {
  if (!unit.radar_on) return false;
  return std::any_of(unit.platform->sensors.begin(), unit.platform->sensors.end(),
                     [](const SensorType* sensor) { return sensor->kind == SensorKind::radar; });
}

void remember(World& world, Detection detection) {
  for (Detection& earlier : world.detections) {
    if (earlier.side == detection.side && earlier.contact == detection.contact) {
      earlier = std::move(detection);
      return;
    }
  }
  world.detections.push_back(std::move(detection));
}

void detect(World& world, const Unit& unit, const SensorType& sensor, std::size_t target, double distance,
            double reach) {
  Contact& contact = contact_on(world, unit.side, target);
  contact.last_seen = world.now;
  contact.seen = world.units[target].motion;
  if (contact.id_status < 4 && world.dice.happens(0.2 + 0.6 * (1 - distance / reach))) ++contact.id_status;
  remember(world, {unit.side, contact.id, unit.id + "-" + sensor.name, world.now, distance});
}

void look(World& world, const Unit& unit, const SensorType& sensor) {
  for (std::size_t index = 0; index < world.units.size(); ++index) {
    const Unit& target = world.units[index];
    if (!target.alive || target.at_base || !sensor.targets.has(target.platform->kind)) continue;
    if (is_friend(world, unit.side, target.side)) continue;
    const double reach = sensor_reach(world, unit, sensor, target);
    if (reach <= 0 || !may_be_within(unit.sphere, target.sphere, reach)) continue;
    const double distance = distance_between(unit.motion.place, target.motion.place);
    if (distance <= reach && world.dice.happens(sensor.chance)) {
      detect(world, unit, sensor, index, distance, reach);
    }
  }
}

void forget_lost_contacts(World& world) {
  for (SideState& side : world.sides) {
    for (auto at = side.contacts.begin(); at != side.contacts.end();) {
      const bool fixed = world.units[at->first].platform->kind == UnitKind::facility;
      const bool lost = !fixed && world.now - at->second.last_seen > kContactLost;
      at = lost ? side.contacts.erase(at) : std::next(at);
    }
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

void use_sensors(World& world) {
  for (std::size_t index = 0; index < world.units.size(); ++index) {
    const Unit& unit = world.units[index];
    if (!unit.alive || unit.at_base) continue;
    for (const SensorType* sensor : unit.platform->sensors) {
      // Units look at different seconds, so that no second has all the work.
      const bool due =
          (static_cast<std::size_t>(world.now) + index) % static_cast<std::size_t>(sensor->look_seconds) == 0;
      if (due) look(world, unit, *sensor);
    }
  }
  forget_lost_contacts(world);
}

}  // namespace tessra::sim
