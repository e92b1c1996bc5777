// From triangles to a mould: the arrays that the library takes, with the outline flagged.
#pragma once

#include "log.h"
#include "mesh.h"

namespace tool {

// The piece of a mesh that lies nearest to a point, or with `near` null the largest piece.
TriangleMesh chosenPiece(const TriangleMesh& mesh, const Point* near, const Log& log);

// Closes all holes, so that the cloth runs on over them.
TriangleMesh withoutHoles(TriangleMesh mesh, const Log& log);

// Throws InputError if the surface is closed. `mesh` must be manifold and of one piece.
Mould mouldOf(TriangleMesh mesh, const Log& log);

} // namespace tool
