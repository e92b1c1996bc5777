// Distances along a surface, and the part of it within a distance of a point.
#pragma once

#include "host/mesh/surface_point.h"
#include "host/mesh/triangle_mesh.h"

#include <limits>

namespace drape::host {

// Distance of every vertex from `from` along the surface; infinite on other pieces. Never below the true
// distance by more than rounding, and above it by a percent or so on a fair mesh. Beyond `farthest` nothing
// is worked out, and what stands there is no distance but lies above it.
std::vector<double> distancesAlong(const TriangleMesh& mesh, const SurfacePoint& from,
                                   double farthest = std::numeric_limits<double>::infinity());

// The same from the nearest of several vertices.
std::vector<double> distancesAlong(const TriangleMesh& mesh, const std::vector<std::int32_t>& from);

// The triangles whose corners all lie within `radius`, and the one that holds the point, as far as they hang
// together with it. Not yet manifold: parts may touch at single vertices.
TriangleMesh patchWithin(const TriangleMesh& mesh, const SurfacePoint& from,
                         const std::vector<double>& distances, double radius);

} // namespace drape::host
