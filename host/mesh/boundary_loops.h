// The closed chains of edges along which a surface ends. The longest one is the outline that the cloth ends
// at; the others are holes.
#pragma once

#include "host/mesh/note.h"
#include "host/mesh/topology.h"
#include "host/mesh/triangle_mesh.h"

namespace drape::host {

struct Loop {
    std::vector<std::int32_t> vertices; // 0-based, in the sense of the triangles' windings
    double length = 0.0;                // in the mesh's unit
};

// All loops, the longest first. The mesh must be manifold; `neighbours` are its own.
std::vector<Loop> boundaryLoops(const TriangleMesh& mesh, const Neighbours& neighbours);
std::vector<Loop> boundaryLoops(const TriangleMesh& mesh);

// Mean of a loop's vertices, to name it by.
Point centreOf(const Loop& loop, const std::vector<Point>& positions);

// Closes all loops but the first with triangles, so that the cloth runs on over the holes. The new triangles
// have the source face 0.
TriangleMesh withHolesFilled(TriangleMesh mesh, const std::vector<Loop>& loops);

// The same by itself: finds the loops, closes the holes and names them in the notes.
TriangleMesh withoutHoles(TriangleMesh mesh, Notes& notes);

// Tells of all loops but the first, if there are any, the larger ones one by one. `outcome` says what becomes
// of them.
void nameHoles(const std::vector<Loop>& loops, const std::vector<Point>& positions, NoteKind kind,
               const std::string& outcome, Notes& notes);

} // namespace drape::host
