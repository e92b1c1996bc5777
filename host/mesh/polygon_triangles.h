// Cuts a polygon in space into triangles by clipping ears, as seen along its mean normal.
#pragma once

#include "host/mesh/triangle_mesh.h"

namespace drape::host {

// `polygon` lists points of `positions`. Gives polygon.size() - 2 triangles with the polygon's winding.
std::vector<Triangle> trianglesOf(const std::vector<std::int32_t>& polygon,
                                  const std::vector<Point>& positions);

} // namespace drape::host
