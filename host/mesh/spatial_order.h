// Numbers for faces and vertices that follow from where they lie. A drape settles ties by number, so the same
// surface has to come with the same numbers whatever order and winding its file has, and in whatever unit.
#pragma once

#include "host/mesh/topology.h"

namespace drape::host {

struct SpatialOrder {
    std::vector<std::int32_t> faces;   // 0-based polygons
    std::vector<Point> points;         // without those that no face names
    std::vector<std::int32_t> numbers; // per point of the soup, its place among them, or -1
};

// Neighbours stand near each other. Faces with the same centre keep their order.
SpatialOrder spatialOrderOf(const PolygonSoup& soup);

// The same for triangles, each of which begins at its lowest vertex then; windings stay.
Sheet inSpatialOrder(const Sheet& sheet);

} // namespace drape::host
