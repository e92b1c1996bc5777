// What a run refuses to start on.
#pragma once

#include "run/model.h"

namespace drape {

// The code of the first fault in a run's input: 201 for an argument out of range, 202 for mesh arrays that
// don't fit together, 0 if there is none. Works in time linear in the mesh.
std::int32_t checkRunInput(const double* seedPoint, const double* seedDirA, const double* seedDirB,
                           double stepA, double stepB, double tolerance, std::int32_t nodeCapacity,
                           const SurfaceMesh& mesh);

} // namespace drape
