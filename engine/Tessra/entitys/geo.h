#pragma once

#include "Tessra/entitys/command_text.h"

namespace tessra {

// Distances and directions on the Earth's surface (geodesics on the WGS 84 ellipsoid), in degrees and metres.

/// Length of the shortest path, in metres.
double distance_between(GeoPoint from, GeoPoint to);

/// Initial bearing of the shortest path, degrees clockwise from north, 0 to 360. 0 for equal points.
double bearing_between(GeoPoint from, GeoPoint to);

/// The point at this distance and initial bearing.
GeoPoint place_beyond(GeoPoint from, double bearing, double metres);

}  // namespace tessra
