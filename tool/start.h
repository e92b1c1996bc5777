// Where a drape starts and which way its fibres run there: seed, warp, weft and cell lengths from the
// settings and the surface.
#pragma once

#include "log.h"
#include "settings.h"
#include "surface_point.h"

namespace tool {

// The seed that the settings name, if they name one. `filePoints` are the file's vertices in its order.
std::optional<Point> namedSeed(const Settings& settings, const std::vector<Point>& filePoints);

constexpr double cellsAcross = 40.0;

// Cell lengths: as given, or about 40 cells across a surface of this area.
std::array<double, 2> stepsFor(const Settings& settings, double area);

// Warp is the wanted direction laid into the seed triangle's plane and turned by `angle` degrees about its
// normal; weft is square to it, turned further by the bias. Both are unit vectors.
Choice choiceAt(const TriangleMesh& mesh, const SurfacePoint& seed, const Settings& settings, double angle,
                const std::array<double, 2>& steps, const Log& log);

} // namespace tool
