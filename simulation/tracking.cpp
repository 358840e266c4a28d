// How looks become contacts. Each look measures position, height and velocity with errors; looks at a contact that
// stays in view are combined as independent measurements (docs/simulation.md has the formulas).

#include "simulation/tracking.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace tessra::sim {

namespace {

constexpr double kDegree = std::numbers::pi / 180;
constexpr double kDrift = 3;       // m/s: growth of the position error while nobody looks
constexpr double kFirstSpan = 10;  // seconds over which the first look observes motion

/// The random deviations of one look, one per measured quantity.
class Deviations {
 public:
  Deviations(const World& world, const Look& look)
      : world_(world), unit_(look.unit.key), sensor_(look.sensor), target_(world.units[look.target].key) {}

  double of(Luck luck) const { return world_.dice.deviation(luck, world_.now, {unit_, sensor_, target_}); }

 private:
  const World& world_;
  std::uint64_t unit_, sensor_, target_;
};

/// Standard deviation of the position from one look, in metres: errors of bearing and range combined.
double look_error(const SensorType& sensor, double distance) {
  return distance * std::hypot(sensor.bearing_error * kDegree, sensor.range_error);
}

/// Position error after a look: two independent measurements weighted by their precision, 1/e² = 1/e₁² + 1/e₂².
double combined_error(double earlier, double look) {
  if (std::isinf(earlier)) return look;
  const double together = std::hypot(earlier, look);
  return together > 0 ? earlier * look / together : 0;
}

/// The motion with an error added to its velocity vector.
Motion with_velocity_error(Motion motion, double deviation, const Deviations& deviations) {
  const double heading = motion.heading * kDegree;
  const double north = motion.speed * std::cos(heading) + deviation * deviations.of(Luck::speed_north);
  const double east = motion.speed * std::sin(heading) + deviation * deviations.of(Luck::speed_east);
  motion.speed = std::hypot(north, east);
  motion.heading = std::fmod(std::atan2(east, north) / kDegree + 360, 360);
  return motion;
}

double measured_height(const Unit& target, double deviation) {
  // An error must not put an aircraft below the surface or a submarine above it; all others are at a known height.
  const double height = target.motion.height + deviation;
  switch (target.platform->kind) {
    case UnitKind::aircraft:
      return std::max(height, 0.0);
    case UnitKind::submarine:
      return std::min(height, 0.0);
    default:
      return target.motion.height;
  }
}

void measure(const World& world, const Look& look, Contact& contact, double error_before) {
  const SensorType& sensor = *look.unit.platform->sensors[look.sensor];
  const Unit& target = world.units[look.target];
  const double once = look_error(sensor, look.way.metres);
  contact.error = combined_error(error_before, once);
  contact.seen = target.motion;
  if (contact.error <= 0) return;
  // The true position with deviations scaled to the combined error: as accurate as averaging the earlier looks would
  // be, without storing them.
  const double share = contact.error / once;
  const Deviations deviations(world, look);
  const double bearing = look.way.bearing + share * sensor.bearing_error * deviations.of(Luck::bearing);
  const double range = look.way.metres * (1 + share * sensor.range_error * deviations.of(Luck::range));
  contact.seen.place = place_beyond(look.unit.motion.place, bearing, range);
  contact.seen.height = measured_height(target, share * sensor.height_error * deviations.of(Luck::height));
  if (is_fixed(world, contact)) return;
  // The longer the contact is watched, the better its velocity: the position error spread over that time.
  const double watched = kFirstSpan + world.now - contact.in_view_since;
  contact.seen = with_velocity_error(contact.seen, contact.error / watched, deviations);
}

}  // namespace

bool is_fixed(const World& world, const Contact& contact) {
  return world.units[contact.target].platform->kind == UnitKind::facility;
}

bool is_fresh(const World& world, const Contact& contact) {
  return is_fixed(world, contact) || world.now - contact.last_seen <= kFreshContact;
}

bool is_targetable(const World& world, const Contact& contact) {
  constexpr double kWorst = 5'000;  // metres; three standard deviations are a seeker's reach
  return is_fresh(world, contact) && contact.error <= kWorst;
}

void renew_contact(World& world, const Look& look) {
  Contact* known = contact_on(world, look.unit.side, look.target);
  Contact& contact = known != nullptr ? *known : add_contact(world, look.unit.side, look.target);
  double error = contact.error;
  if (known == nullptr || !is_fresh(world, contact)) {
    error = std::numeric_limits<double>::infinity();
    contact.in_view_since = world.now;
  } else if (!is_fixed(world, contact)) {
    error += kDrift * (world.now - contact.last_seen);
  }
  contact.last_seen = world.now;
  measure(world, look, contact, error);
  const double chance = 0.2 + 0.6 * (1 - look.way.metres / look.reach);
  const bool identified =
      world.dice.happens(chance, Luck::identify, world.now, {look.unit.key, look.sensor, world.units[look.target].key});
  if (contact.id_status < 4 && identified) ++contact.id_status;
}

}  // namespace tessra::sim
