// Where a drape starts and which way its fibres run there: seed, warp, weft and cell lengths from the
// caller's wishes and the surface.
#pragma once

#include "host/mesh/note.h"
#include "host/mesh/surface_point.h"

#include <cstdint>
#include <optional>

namespace drape::host {

// Where and how to drape.
struct Choice {
    Point seed{};
    Point warp{}; // direction 1 at the seed
    Point weft{}; // direction 4 at the seed
    double stepA = 0.0;
    double stepB = 0.0;
    double tolerance = 0.0;
    bool pivotByGridLine = true;
    std::int32_t nodeCapacity = 0;
};

// What a caller may ask of a start; what is left out follows from the surface.
struct StartWishes {
    Point warp{1.0, 0.0, 0.0};       // any length above 0; laid into the surface at the seed
    double bias = 0.0;               // degrees, of the weft away from square to the warp
    std::optional<double> stepA;     // cell length along the warp
    std::optional<double> stepB;     // along the weft; that of the warp if it isn't given
    std::optional<double> tolerance; // lengths below this count as nothing
    bool pivotByGridLine = true;     // else at the least sheared cell of the row before
};

constexpr double cellsAcross = 40.0;

// Cell lengths: as wished, or about 40 cells across a surface of this area.
std::array<double, 2> stepsFor(const StartWishes& wishes, double area);

// Warp is the wanted direction laid into the seed triangle's plane and turned by `angle` degrees about its
// normal; weft is square to it, turned further by the bias. Both are unit vectors.
Choice choiceAt(const TriangleMesh& mesh, const SurfacePoint& seed, const StartWishes& wishes, double angle,
                const std::array<double, 2>& steps, Notes& notes);

} // namespace drape::host
