// The mould as a walk over it needs it: which triangles lie side by side, and the edges at which it ends.
#pragma once

#include "host/mesh/topology.h"

namespace drape::host {

struct BoundaryEdge {
    std::int32_t from, to; // 0-based vertices, in the sense of the triangle's winding
    std::int32_t next;     // the boundary edge that starts at `to`
    std::int32_t triangle; // 0-based
};

struct MouldEdges {
    // Per triangle and its edge from corner k to k + 1: the triangle beyond, or -1 - b at boundary edge b.
    Neighbours beyond;
    std::vector<BoundaryEdge> boundary;
};

// `neighbours` are those of `mesh`, which must be manifold.
MouldEdges edgesOf(const TriangleMesh& mesh, Neighbours neighbours);

} // namespace drape::host
