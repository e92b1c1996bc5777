// Cuts a polygon in space into triangles by clipping ears, as seen along its mean normal.
#pragma once

#include "host/mesh/triangle_mesh.h"

namespace drape::host {

// `polygon` lists three points of `positions` or more. Adds polygon.size() - 2 triangles with the polygon's
// winding to `triangles`.
void appendTriangles(const std::vector<std::int32_t>& polygon, const std::vector<Point>& positions,
                     std::vector<Triangle>& triangles);

} // namespace drape::host
