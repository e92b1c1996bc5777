// Which triangles meet along which edges, and what follows from it: pieces, windings that agree, boundary
// edges, and vertices with one fan of triangles each.
#pragma once

#include "host/mesh/note.h"
#include "host/mesh/triangle_mesh.h"

namespace drape::host {

constexpr std::int32_t noTriangle = -1;

// Per triangle, the neighbour across the edge from corner k to corner k + 1, noTriangle at a boundary. Where
// more than two triangles meet, those that run on most smoothly are neighbours and the others end there.
using Neighbours = std::vector<std::array<std::int32_t, 3>>;

struct Topology {
    Neighbours neighbours;
    std::size_t crowdedEdges = 0; // edges of more than two triangles
};

Topology topologyOf(const TriangleMesh& mesh);

// Edge of triangle `t` that joins the vertices `a` and `b`, in either sense; 3 if there is none.
std::size_t edgeBetween(const Triangle& t, std::int32_t a, std::int32_t b);

// Turns triangles so that neighbours agree, with the sense that most of a piece had; splits vertices at which
// the surface only touches itself. Afterwards every vertex has one fan, every edge one or two triangles.
TriangleMesh manifoldOf(TriangleMesh mesh, Notes& notes);

// Piece of each triangle, pieces numbered from 0 in order of their first triangle.
std::vector<std::int32_t> piecesOf(const TriangleMesh& mesh);

// The triangles with a set mark, and the vertices that they use, in their old order.
TriangleMesh keptPart(const TriangleMesh& mesh, const std::vector<char>& keep);

} // namespace drape::host
