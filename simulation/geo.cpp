#include "simulation/geo.h"

#include <GeographicLib/Geodesic.hpp>
#include <algorithm>
#include <cmath>
#include <numbers>

namespace tessra::sim {

namespace {

constexpr double kEarthRadius = 6'371'000;  // metres, mean

const GeographicLib::Geodesic& earth() { return GeographicLib::Geodesic::WGS84(); }

/// Azimuths are from -180 to 180; bearings here from 0 to 360.
double compass(double degrees) { return degrees < 0 ? degrees + 360 : degrees; }

}  // namespace

Way way_between(Place from, Place to) {
  double metres = 0;
  double bearing = 0;
  double arrival = 0;
  earth().Inverse(from.lat, from.lon, to.lat, to.lon, metres, bearing, arrival);
  return {metres, compass(bearing)};
}

double distance_between(Place from, Place to) {
  double metres = 0;
  earth().Inverse(from.lat, from.lon, to.lat, to.lon, metres);
  return metres;
}

Place place_beyond(Place from, double bearing, double metres) {
  Place reached;
  earth().Direct(from.lat, from.lon, bearing, metres, reached.lat, reached.lon);
  return reached;
}

Leg::Leg(Place from, Place to) : place_(from) {
  // The line is set up once per leg, so that a step costs a position on it instead of a new inverse problem.
  const Way way = way_between(from, to);
  length_ = way.metres;
  heading_ = way.bearing;
  line_ = earth().Line(from.lat, from.lon, way.bearing,
                       GeographicLib::Geodesic::LATITUDE | GeographicLib::Geodesic::LONGITUDE |
                           GeographicLib::Geodesic::AZIMUTH | GeographicLib::Geodesic::DISTANCE_IN);
}

double Leg::walk(double metres) {
  const double step = std::min(metres, length_ - walked_);
  walked_ += step;
  double heading = 0;
  line_.Position(walked_, place_.lat, place_.lon, heading);
  heading_ = compass(heading);
  return metres - step;
}

SpherePoint sphere_point(Place place) {
  const double lat = place.lat * std::numbers::pi / 180;
  const double lon = place.lon * std::numbers::pi / 180;
  return {std::cos(lat) * std::cos(lon), std::cos(lat) * std::sin(lon), std::sin(lat)};
}

bool may_be_within(const SpherePoint& a, const SpherePoint& b, double metres) {
  double chord_squared = 0;
  for (std::size_t axis = 0; axis < a.size(); ++axis) chord_squared += (a[axis] - b[axis]) * (a[axis] - b[axis]);
  const double bound = 1.01 * metres / kEarthRadius;  // a chord is never longer than its arc
  return chord_squared <= bound * bound;
}

double horizon_metres(double height_1, double height_2) {
  return 4120 * (std::sqrt(std::max(height_1, 0.0)) + std::sqrt(std::max(height_2, 0.0)));
}

}  // namespace tessra::sim
