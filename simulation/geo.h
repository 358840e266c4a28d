#pragma once

// Distances and directions on the WGS 84 ellipsoid. Degrees, metres.

#include <GeographicLib/GeodesicLine.hpp>
#include <array>

namespace tessra::sim {

/// A place on the surface, in degrees.
struct Place {
  double lat = 0;
  double lon = 0;
};

/// Shortest path between two places.
struct Way {
  double metres;
  double bearing;  ///< degrees from north at the start, 0 to 360
};

/// Length and initial bearing of the geodesic (Karney 2013, through GeographicLib).
Way way_between(Place from, Place to);
double distance_between(Place from, Place to);

/// The place after `metres` along the geodesic that starts with `bearing`.
Place place_beyond(Place from, double bearing, double metres);

/// One leg of a course: a geodesic that is followed step by step.
class Leg {
 public:
  Leg(Place from, Place to);

  /// Advances, at most to the end. Returns the unused metres.
  double walk(double metres);
  bool finished() const { return walked_ >= length_; }
  /// Current position and heading.
  Place place() const { return place_; }
  double heading() const { return heading_; }

 private:
  GeographicLib::GeodesicLine line_;
  double length_ = 0;
  double walked_ = 0;
  Place place_;
  double heading_ = 0;
};

/// A place as a point on the unit sphere, for cheap bounds on distances.
using SpherePoint = std::array<double, 3>;
SpherePoint sphere_point(Place place);

/// False only if two places are certainly farther apart than `metres`. Distances on the sphere differ from those on the
/// ellipsoid by less than 0.6 %, so a margin of 1 % is used.
bool may_be_within(const SpherePoint& a, const SpherePoint& b, double metres);

/// Greatest distance of a line of sight between two heights, in metres: 4120 (√h₁ + √h₂), for radio waves refracted by
/// the standard atmosphere (4/3 of the Earth's radius). Heights below the surface count as 0.
double horizon_metres(double height_1, double height_2);

}  // namespace tessra::sim
