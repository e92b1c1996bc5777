// The surface that a program run works on, from the file to the piece that is draped, before any seed
// matters: read, repaired, clipped, made manifold.
#pragma once

#include "log.h"
#include "mesh.h"
#include "settings.h"

namespace tool {

struct Surface {
    TriangleMesh mesh;           // one piece
    Point defaultSeed{};         // what the settings name, else the surface point nearest to the centroid
    std::array<double, 2> steps; // cell lengths along warp and weft
};

Surface loadSurface(const Settings& settings, const Log& log);

} // namespace tool
