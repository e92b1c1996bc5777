// From triangles to a mould: the arrays that the library takes, with the outline flagged.
#pragma once

#include "host/mesh/note.h"
#include "host/mesh/triangle_mesh.h"

namespace drape::host {

// A triangulated mould, ready for the library. Vertex and triangle numbers are 0-based here; the int32
// arrays that go to the library (`corners`, `fanStart`, `fan`) hold what its header asks for.
struct Mould {
    std::vector<Point> positions;
    std::vector<std::int32_t> corners;            // 3 per triangle, 1-based vertices
    std::vector<std::int32_t> fanStart;           // per vertex, entries of `fan` before its own
    std::vector<std::int32_t> fan;                // triangles around each vertex, 1-based
    std::vector<std::int32_t> flagged;            // per vertex, 1 on the boundary loop that the library walks
    std::vector<std::vector<std::int32_t>> loops; // boundary loops, 0-based vertices, walked one first
    std::vector<std::int32_t> sourceFaces; // per triangle, its 1-based face in the file, 0 if not from it

    std::size_t triangleCount() const { return corners.size() / 3; }
    const Point& corner(std::size_t triangle, int k) const {
        return positions[static_cast<std::size_t>(corners[3 * triangle + static_cast<std::size_t>(k)]) - 1];
    }
};

double areaOf(const Mould& mould); // in the mould's unit squared

// `mesh` must be manifold and of one piece. Throws InputError (closed) if it has no boundary.
Mould mouldOf(TriangleMesh mesh, Notes& notes);

} // namespace drape::host
