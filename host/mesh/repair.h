// Makes clean triangles of what a file holds: coincident vertices welded, faces cut into triangles,
// degenerate and doubled triangles gone. Each change is told in the notes.
#pragma once

#include "host/mesh/note.h"
#include "host/mesh/triangle_mesh.h"

namespace drape::host {

// Vertices closer than this share of the bounding box's diagonal are one vertex.
constexpr double weldShare = 1e-6;

// Longest diagonal of the points' bounding box.
double diagonalOf(const std::vector<Point>& points);

// What comes out doesn't hang on the order of points and faces, nor do the numbers in it.
// With `welded` false, vertices that lie on each other stay apart, as along a cut of no width.
TriangleMesh repairedMesh(const PolygonSoup& soup, bool welded, Notes& notes);

} // namespace drape::host
