// Cuts a mesh along a plane and keeps the side to which the plane's normal points.
#pragma once

#include "mesh.h"

namespace tool {

struct Plane {
    Point point;
    Point normal;
};

TriangleMesh clipped(const TriangleMesh& mesh, const Plane& plane);

} // namespace tool
