#include "Tessra/entitys/geo.h"

#include <GeographicLib/Geodesic.hpp>
#include <cmath>

namespace tessra {

namespace {

// The simulation moves units on the same geodesics, so agents and service agree on distances.
const GeographicLib::Geodesic& earth() { return GeographicLib::Geodesic::WGS84(); }

}  // namespace

double distance_between(GeoPoint from, GeoPoint to) {
  double metres = 0;
  earth().Inverse(from.lat, from.lon, to.lat, to.lon, metres);
  return metres;
}

double bearing_between(GeoPoint from, GeoPoint to) {
  double metres = 0;
  double there = 0;
  double arrival = 0;
  earth().Inverse(from.lat, from.lon, to.lat, to.lon, metres, there, arrival);
  return metres > 0 ? std::fmod(there + 360, 360) : 0;  // azimuths are from -180 to 180
}

GeoPoint place_beyond(GeoPoint from, double bearing, double metres) {
  GeoPoint place;
  earth().Direct(from.lat, from.lon, bearing, metres, place.lat, place.lon);
  return place;
}

}  // namespace tessra
