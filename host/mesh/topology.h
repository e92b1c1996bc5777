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
    Neighbours neighbours;        // 0-based
    std::size_t crowdedEdges = 0; // edges of more than two triangles
};

// Of any mesh whose triangles have three different corners each, whatever their windings.
Topology topologyOf(const TriangleMesh& mesh);

// Edge of triangle `t` that joins the vertices `a` and `b`, in either sense; 3 if there is none.
std::size_t edgeBetween(const Triangle& t, std::int32_t a, std::int32_t b);

// A manifold mesh on its way through the steps of its preparation, with what is known of its neighbours, so
// that steps which only choose, turn or number triangles don't have to find them again.
struct Sheet {
    TriangleMesh mesh;
    Neighbours neighbours; // those of `topologyOf(mesh)`, or none if that has to be asked
};

// Turns triangles so that neighbours agree, with the sense that most of a piece had; splits vertices at which
// the surface only touches itself. Afterwards every vertex has one fan, every edge one or two triangles.
Sheet sheetOf(TriangleMesh mesh, Notes& notes);
TriangleMesh manifoldOf(TriangleMesh mesh, Notes& notes);

// Winds all triangles the other way round.
void turnOver(Sheet& sheet);

// Piece of each triangle, as far as neighbours hang together, pieces numbered from 0 in order of their first
// triangle.
std::vector<std::int32_t> piecesOf(const Neighbours& neighbours);

// The triangles with a set mark, one mark per triangle, and the vertices that they use, in their old order.
TriangleMesh keptPart(const TriangleMesh& mesh, const std::vector<char>& keep);

} // namespace drape::host
