// Distances along a surface, and the part of it within a distance of a point.
#pragma once

#include "host/mesh/surface_point.h"
#include "host/mesh/triangle_mesh.h"

namespace drape::host {

// Per vertex, its distance along the surface as one run of a `Front` gives it, from a point of the surface or
// from the nearest of several vertices (0-based), in the mesh's unit.
std::vector<double> distancesAlong(const TriangleMesh& mesh, const SurfacePoint& from);
std::vector<double> distancesAlong(const TriangleMesh& mesh, const std::vector<std::int32_t>& from);

// The triangles whose corners all lie within `radius` by `distances`, which are those from `from`, and the
// one that holds the point, as far as they hang together with it. Not yet manifold: parts may touch at single
// vertices.
TriangleMesh patchWithin(const TriangleMesh& mesh, const SurfacePoint& from,
                         const std::vector<double>& distances, double radius);

} // namespace drape::host
