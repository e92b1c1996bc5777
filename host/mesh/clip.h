// Cuts a mesh along a plane and keeps the side to which the plane's normal points.
#pragma once

#include "host/mesh/triangle_mesh.h"

namespace drape::host {

struct Plane {
    Point point;  // any on it, in the mesh's unit
    Point normal; // of any length above 0
};

// Triangles that the plane crosses are cut, and what is left of them keeps their source face. Empty if
// nothing lies on that side.

TriangleMesh clipped(const TriangleMesh& mesh, const Plane& plane);

} // namespace drape::host
