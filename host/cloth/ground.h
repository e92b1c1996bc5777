// A surface as cloth is looked for over it: a mesh whose edges are short against the cells, with what is
// asked of its vertices again and again.
#pragma once

#include "host/mesh/triangle_mesh.h"

#include <span>

namespace drape::host {

struct Ground {
    TriangleMesh mesh;
    std::vector<std::int32_t> nextStart; // per vertex, entries of `next` before its own, and one more
    std::vector<std::int32_t> next;      // vertices at the other ends of its edges, 0-based
    std::vector<Point> normals;          // per vertex, unit vector
    std::vector<double> areas;           // per vertex, a third of the triangles around it
    std::vector<char> nearRim;           // per vertex, whether the surface ends less than a cell away
    double area = 0.0;                   // of all, in the mesh's unit squared

    std::size_t vertexCount() const { return normals.size(); }
    std::span<const std::int32_t> around(std::int32_t vertex) const {
        const auto first = at(nextStart[at(vertex)]);
        return std::span(next).subspan(first, at(nextStart[at(vertex) + 1]) - first);
    }
};

// `step` is the longer cell length. The mesh must be manifold.
Ground groundOf(const TriangleMesh& mesh, double step);

} // namespace drape::host
