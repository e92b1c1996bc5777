// From a place in space to the flat pattern, through one cell.
//
// The cell is cut along its shorter diagonal. The point's line of projection is cut with the planes of both
// triangles, and the coefficients found there, applied to the flat positions of the same corners, give its
// place on the pattern. Coefficients beyond the triangle carry points beyond the cell.
#include "transfer/flat_mapping.h"

#include "drape.h"

#include <cstdint>
#include <limits>

namespace drape {
namespace {

// Coordinates in a plane's own frame.
struct PlanePoint {
    double s, t;

    bool inParallelogram() const { return 0.0 <= s && s <= 1.0 && 0.0 <= t && t <= 1.0; }
    bool beforeDiagonal() const { return s + t <= 1.0; }
};

// Where the line through `point` along `direction` meets the plane of the three points. A line along the
// plane gives coefficients that are infinite or not a number, and they fail every test made of them.
PlanePoint cutLineWithPlane(const Vec3& point, const Vec3& direction, const Vec3& origin, const Vec3& uPoint,
                            const Vec3& vPoint) {
    const Vec3 e1 = uPoint - origin;
    const Vec3 e2 = vPoint - origin;
    const Vec3 w = point - origin;
    const Vec3 n = parvis(e2, direction);
    const Vec3 m = parvis(w, direction);
    const double den = prosca(e1, n);
    return {prosca(w, n) / den, prosca(e1, m) / den};
}

struct SplitCell {
    std::int32_t apex1, apex2, diagStart, diagEnd;
};

// The diagonal from c to e is taken unless the other one is shorter.
SplitCell splitAtShorterDiagonal(const GridView& grid, const CellCorners& cell) {
    const double ce = cadis(grid.position(cell.c), grid.position(cell.e));
    const double ab = cadis(grid.position(cell.a), grid.position(cell.b));
    if (ce > ab)
        return {cell.c, cell.e, cell.a, cell.b};
    return {cell.a, cell.b, cell.c, cell.e};
}

void mapToFlat(const double* nodeFlat, std::int32_t apex, const SplitCell& cell, const PlanePoint& at,
               double* flatPoint) {
    for (std::int32_t k = 0; k < 2; ++k) {
        const auto flat = [&](std::int32_t node) { return nodeFlat[2 * (std::int64_t{node} - 1) + k]; };
        flatPoint[k] = flat(apex) + at.s * (flat(cell.diagStart) - flat(apex)) +
                       at.t * (flat(cell.diagEnd) - flat(apex));
    }
}

// Outlives the call: a point that no mapping reaches gets the place of the last one that was reached.
double lastOtherFlat[2] = {0.0, 0.0};

} // namespace

bool mapThroughCell(const GridView& grid, const double* nodeFlat, const CurvePoint& point, std::int32_t cell,
                    double* flatPoint) {
    const CellCorners corners = grid.corners(cell);
    if (!corners.complete())
        return false;
    const SplitCell split = splitAtShorterDiagonal(grid, corners);
    const Vec3 start = grid.position(split.diagStart);
    const Vec3 end = grid.position(split.diagEnd);
    const PlanePoint at1 =
        cutLineWithPlane(point.position, point.direction, grid.position(split.apex1), start, end);
    const PlanePoint at2 =
        cutLineWithPlane(point.position, point.direction, grid.position(split.apex2), start, end);

    const bool inside = at1.inParallelogram() || at2.inParallelogram();
    if (inside ? at1.inParallelogram() : at1.beforeDiagonal())
        mapToFlat(nodeFlat, split.apex1, split, at1, flatPoint);
    if (inside ? at2.inParallelogram() : at2.beforeDiagonal())
        mapToFlat(nodeFlat, split.apex2, split, at2, flatPoint);
    return inside;
}

void mapThroughOtherCell(GlobalSearch& search, const double* nodeFlat, const CurvePoint& point,
                         std::int32_t& cell, double* flat) {
    std::int32_t ranks[2];
    search.rank(point.position, 2, ranks);
    const std::int32_t nearest = ranks[0];
    const std::int32_t second = ranks[1];
    cell = cell != nearest && cell == second ? nearest : second;
    mapThroughCell(search.grid(), nodeFlat, point, cell, lastOtherFlat);
    flat[0] = lastOtherFlat[0];
    flat[1] = lastOtherFlat[1];
}

} // namespace drape

extern "C" int32_t npprtr(const double* point, const double* direction, const double* origin,
                          const double* uPoint, const double* vPoint, double* s, double* t) {
    const drape::PlanePoint at =
        drape::cutLineWithPlane(drape::load(point), drape::load(direction), drape::load(origin),
                                drape::load(uPoint), drape::load(vPoint));
    *s = at.s;
    *t = at.t;
    return 0;
}

// The node count isn't promised here, so links are only held against 0.
extern "C" int32_t uzfttp(const double* points, const double* directions, const int32_t* pointIndex,
                          const int32_t* cell, const void* /*link3*/, const int32_t* link1,
                          const void* /*link2*/, const int32_t* link4, const void* /*spareA*/,
                          const void* /*spareB*/, const double* nodePos, const double* nodeFlat,
                          const void* /*spareC*/, const void* /*nodeCount*/, double* flatPoint,
                          int32_t* inside, int32_t* status) {
    *status = DRAPE_OK;
    const drape::GridView grid = {
        nullptr, link1, nullptr, link4, nullptr, nodePos, std::numeric_limits<int32_t>::max()};
    const drape::CurvePoint point = {drape::load(points, *pointIndex), drape::load(directions, *pointIndex)};
    *inside = drape::mapThroughCell(grid, nodeFlat, point, *cell, flatPoint) ? -1 : 0;
    return 0;
}

extern "C" int32_t uzftte(const double* points, const double* directions, const int32_t* pointIndex,
                          const void* /*link3*/, const int32_t* link1, const void* /*link2*/,
                          const int32_t* link4, const void* /*spareA*/, const void* /*spareB*/,
                          const void* /*nodeStatus*/, const double* nodePos, const double* nodeFlat,
                          const void* /*spareC*/, const int32_t* nodeCount, double* flatOut, int32_t* cellOf,
                          int32_t* status) {
    *status = DRAPE_OK;
    drape::GlobalSearch search({nullptr, link1, nullptr, link4, nullptr, nodePos, *nodeCount});
    const std::int64_t index = *pointIndex;
    drape::mapThroughOtherCell(search, nodeFlat, {drape::load(points, index), drape::load(directions, index)},
                               cellOf[index - 1], flatOut + 2 * (index - 1));
    return 0;
}
