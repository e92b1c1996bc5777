// New vertices on the edges of a mesh. The triangles on both sides of an edge share its new vertex, so the
// surface stays as it is and gets no cracks.
#pragma once

#include "host/mesh/triangle_mesh.h"

#include <functional>
#include <optional>

namespace drape::host {

// A new vertex: the place `part` (0 to 1, ends excluded) of the way from vertex `low` to vertex `high`.
struct EdgePoint {
    std::int32_t low, high; // 0-based, low < high
    double part;
};

struct SplitMesh {
    TriangleMesh mesh;
    std::vector<EdgePoint> added;      // the vertices after those that were there before, in their order
    std::vector<std::int32_t> parents; // per triangle, the one that it is a part of, 0-based
};

// At which part of the edge between two vertices, the lower one first, a new one is wanted, if at all.
using EdgeRule = std::function<std::optional<double>(std::int32_t low, std::int32_t high)>;

// `where` is asked for every edge of every triangle and has to answer the same each time. Where all edges of
// a triangle get a vertex its corners are cut off.
SplitMesh splitEdges(const TriangleMesh& mesh, const EdgeRule& where);

// The same surface with no edge longer than `longest`, in the mesh's unit.
TriangleMesh refined(TriangleMesh mesh, double longest);

} // namespace drape::host
