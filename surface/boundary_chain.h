// The surface boundary as one closed chain of edges.
#pragma once

#include "run/model.h"

namespace drape {

// Walks the boundary loop through the lowest flagged vertex of `mesh`. `boundaryCount` holds the room in
// `edges` and `normals`, below 1 for room of mesh.vertCount, and becomes the number of edges; so does the
// model's own count if `edges` is the model's table. False with status 3, 4 or a work-array code.
bool walkBoundary(const SurfaceMesh& mesh, const std::int32_t* vertBoundary, std::int32_t& boundaryCount,
                  std::int32_t* edges, double* normals, std::int32_t& status);

} // namespace drape
