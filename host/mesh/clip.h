// Cuts a mesh along a plane and keeps the side to which the plane's normal points.
#pragma once

#include "host/mesh/triangle_mesh.h"

namespace drape::host {

struct Plane {
    Point point;
    Point normal;
};

TriangleMesh clipped(const TriangleMesh& mesh, const Plane& plane);

} // namespace drape::host
