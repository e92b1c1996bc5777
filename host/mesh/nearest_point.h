// The point of a triangle or of a straight line between two points nearest to a point in space.
#pragma once

#include "host/mesh/point.h"

namespace drape::host {

// 0 at a to 1 at b.
double shareOnSegment(const Point& a, const Point& b, const Point& p);
Point nearestOnSegment(const Point& a, const Point& b, const Point& p);

// A point in the triangle's plane comes back with next to no rounding, which suits seeds.
Point nearestOnTriangle(const Point& a, const Point& b, const Point& c, const Point& p);

} // namespace drape::host
