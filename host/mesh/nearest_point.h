// The point of a triangle or of a straight line between two points nearest to a point in space, as a point
// and as shares of the corners.
#pragma once

#include "host/mesh/point.h"

namespace drape::host {

// 0 at a to 1 at b.
double shareOnSegment(const Point& a, const Point& b, const Point& p);
Point nearestOnSegment(const Point& a, const Point& b, const Point& p);

// A point in the triangle's plane comes back with next to no rounding, which suits seeds.
Point nearestOnTriangle(const Point& a, const Point& b, const Point& c, const Point& p);

// Shares of b and c, for what is to be carried over from the corners; a has the rest.
std::array<double, 2> nearestShares(const Point& a, const Point& b, const Point& c, const Point& p);

} // namespace drape::host
