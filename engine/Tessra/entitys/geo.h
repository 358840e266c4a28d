#pragma once

#include "Tessra/entitys/command_text.h"

namespace tessra {

// Distances and directions on the Earth's surface (geodesics on the WGS 84 ellipsoid), in degrees and metres.

/// Length of the shortest way.
double distance_between(GeoPoint from, GeoPoint to);

/// Direction in which the shortest way begins, degrees from north, 0 to 360. 0 when there is no way to go.
double bearing_between(GeoPoint from, GeoPoint to);

/// Where one comes to after so many metres in a direction.
GeoPoint place_beyond(GeoPoint from, double bearing, double metres);

}  // namespace tessra
