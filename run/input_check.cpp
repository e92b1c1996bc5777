// Input check: every index that a run will follow is looked at once, so that nothing after this has to doubt
// the mesh. What the run gives a result or a code for by itself isn't refused here: a mesh of two vertices,
// or of empty lists, has no boundary.
#include "run/input_check.h"

#include <cmath>
#include <limits>

namespace drape {
namespace {

// The passes look at all values before they judge, which lets the compiler take several at once.
bool allFinite(const double* values, std::int64_t count) {
    std::int64_t bad = 0;
    for (std::int64_t k = 0; k < count; ++k)
        bad += std::fabs(values[k]) <= std::numeric_limits<double>::max() ? 0 : 1;
    return bad == 0;
}

bool allWithin(const std::int32_t* values, std::int64_t count, std::int32_t low, std::int32_t high) {
    std::int32_t bad = 0;
    for (std::int64_t k = 0; k < count; ++k)
        bad |= (values[k] < low ? 1 : 0) | (values[k] > high ? 1 : 0);
    return bad == 0;
}

bool ascendingWithin(const std::int32_t* values, std::int64_t count, std::int32_t low, std::int32_t high) {
    for (std::int64_t k = 0; k < count; ++k) {
        if (values[k] < low || values[k] > high)
            return false;
        low = values[k];
    }
    return true;
}

// A vertex that no triangle names may hold any coordinates.
bool placesAreFinite(const SurfaceMesh& mesh) {
    if (allFinite(mesh.vertPos, 3 * std::int64_t{mesh.vertCount}))
        return true;
    for (std::int64_t k = 0; k < 3 * std::int64_t{mesh.triCount}; ++k)
        if (!allFinite(mesh.vertPos + 3 * (std::int64_t{mesh.triVerts[k]} - 1), 3))
            return false;
    return true;
}

bool isStep(double value) {
    return std::isfinite(value) && value > 0.0;
}

} // namespace

std::int32_t checkRunInput(const double* seedPoint, const double* seedDirA, const double* seedDirB,
                           double stepA, double stepB, double tolerance, std::int32_t nodeCapacity,
                           const SurfaceMesh& mesh) {
    const bool counts =
        mesh.triCount >= 1 && mesh.vertCount >= 1 && mesh.vertTriCount >= 0 && nodeCapacity >= 4;
    const bool lengths = isStep(stepA) && isStep(stepB) && std::isfinite(tolerance) && tolerance >= 0.0;
    if (!counts || !lengths || !allFinite(seedPoint, 3) || !allFinite(seedDirA, 3) || !allFinite(seedDirB, 3))
        return DRAPE_BAD_ARGUMENT;
    const bool fits = allWithin(mesh.triVerts, 3 * std::int64_t{mesh.triCount}, 1, mesh.vertCount) &&
                      ascendingWithin(mesh.vertTriStart, mesh.vertCount, 0, mesh.vertTriCount) &&
                      allWithin(mesh.vertTriList, mesh.vertTriCount, 1, mesh.triCount) &&
                      placesAreFinite(mesh);
    return fits ? DRAPE_OK : DRAPE_BAD_MESH;
}

} // namespace drape
