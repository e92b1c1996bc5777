// Where polygons of the plane lie, and where they lie over each other.
#pragma once

#include "host/cloth/flat_point.h"

#include <vector>

namespace drape::host {

// The area that lies in at least two of the shapes, as trapezoids with two level sides. A shape is a set of
// closed polygons, the first point not repeated, solid to the left of each.
std::vector<std::vector<FlatPoint>> overlapOf(const std::vector<std::vector<std::vector<FlatPoint>>>& shapes);

// One shape in the same manner.
std::vector<std::vector<FlatPoint>> trapezoidsOf(const std::vector<std::vector<FlatPoint>>& shape);

// Whether a place lies within a closed line. On the line either may be.
bool liesWithin(const FlatPoint& place, const std::vector<FlatPoint>& line);

// Area to the left of a closed polygon, below 0 if it runs clockwise.
double signedArea(const std::vector<FlatPoint>& polygon);

} // namespace drape::host
