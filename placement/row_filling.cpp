// Row filling: every node but the first of a row closes a cell whose three other corners are known, so it
// lies on the circle where two spheres meet, one around the old row's node and one around the new row's last.
//
//      H --- R        old row, H done already
//      |     |
//      E --- X        new row, X to be placed one step further on
#include "placement/row_filling.h"

#include "placement/boundary_fallback.h"
#include "surface/run_indices.h"

#include <cmath>

namespace drape {
namespace {

// A new cell whose normal turns this far against the old corner's has folded over: 0.95 in single precision.
constexpr double FOLDED_OVER = static_cast<double>(0.95f);

struct Cell {
    std::int32_t r, h, e; // nodes
    Vec3 posR, posH, posE;
    double alongFront, alongRow; // cell lengths from R and from E
    Vec3 normal;                 // by the corner's own winding
    Vec3 outward;                // the same on the side of the surface normal at H
    Vec3 forward;                // away from H
};

// The circle of the two spheres around R and E.
struct CellCircle {
    Vec3 centre;
    double radius;
};

bool cellAt(std::int32_t r, std::int32_t direction, std::int32_t walkDirection, Cell& cell) {
    cell.r = r;
    cell.h = model->link(opposite(walkDirection), r);
    cell.e = model->link(direction, cell.h);
    if (cell.h == 0 || cell.e == 0)
        return false;
    cell.posR = model->positionOf(cell.r);
    cell.posH = model->positionOf(cell.h);
    cell.posE = model->positionOf(cell.e);
    cell.alongFront = model->stepAlong(direction);
    cell.alongRow = model->stepAlong(next(direction));
    cell.normal = unitNormal(cell.posR - cell.posH, cell.posE - cell.posH);
    cell.outward = prosca(cell.normal, model->normalOf(cell.h)) >= 0.0 ? cell.normal : -cell.normal;
    cell.forward = unitNormal(cell.posE - cell.posR, cell.normal);
    return true;
}

CellCircle circleOf(const Cell& cell, double distance2) {
    const double a = cell.alongFront;
    const double b = cell.alongRow;
    const double t = (a * a - b * b) / (distance2 + distance2) + 0.5;
    const double root = a * a - distance2 - b * b;
    const double u = root * root / (distance2 * 4.0);
    // Rounding on a fully flattened cell can bring the square below zero.
    const double radius2 = b * b - u;
    return {cell.posR + t * (cell.posE - cell.posR), radius2 < 0.0 ? 0.0 : std::sqrt(radius2)};
}

// Looks for the node on the surface, first from the triangle of E and then from that of R.
bool placeOnSurface(const Cell& cell, CircleSearch& search, SearchScratch& scratch, SurfacePoint& found,
                    std::int32_t& status) {
    const double tolerance = model->tolerance;
    const margins::DistanceSlack slack = largestSlack();
    const Ball balls[] = {{cell.posR, cell.alongFront, tolerance, slack},
                          {cell.posE, cell.alongRow, tolerance, slack}};
    const std::int32_t starts[] = {model->triangleOf(cell.e), model->triangleOf(cell.r)};
    for (int k = 0; k < 2; ++k) {
        if (starts[k] == 0)
            continue;
        scratch.clearCallersList();
        search.listWanted = k == 1 || starts[1] == 0;
        if (!searchSurface(starts[k], balls, 2, search, scratch, found, status))
            return false;
        if (found.triangle != 0)
            return true;
    }
    return true;
}

// A point beyond the boundary, or in the plane of the cell where there is no boundary to go by.
void placeOffSurface(const Cell& cell, const CircleSearch& search, const SearchScratch& scratch,
                     SurfacePoint& found) {
    FallbackPoint fallback;
    std::int32_t reason = DRAPE_OK;
    if (fallBackToBoundary(search.centre, search.planeNormal, search.forward, search.radius,
                           scratch.foundList, scratch.foundCount, model->tolerance, fallback, reason)) {
        found = {fallback.point, fallback.normal, 0};
        return;
    }
    Vec3 normal = cell.alongFront * model->normalOf(cell.e) + cell.alongRow * model->normalOf(cell.r);
    devor(normal);
    found = {search.centre + search.radius * search.forward, normal, 0};
}

bool foldsOver(const Cell& cell, const Vec3& point) {
    const Vec3 newCorner = unitNormal(cell.posE - point, cell.posR - point);
    return 0.0 > prosca(newCorner, cell.normal) + FOLDED_OVER;
}

bool closeCell(std::int32_t r, std::int32_t direction, std::int32_t walkDirection, SearchScratch& scratch,
               std::int32_t& status) {
    Cell cell{};
    if (!cellAt(r, direction, walkDirection, cell)) {
        status = DRAPE_BROKEN_GRID_LINK;
        return false;
    }
    const double distance2 = cadis(cell.posE, cell.posR);
    if (!(distance2 > 0.0)) {
        status = DRAPE_NODES_COINCIDE;
        return false;
    }
    const CellCircle circle = circleOf(cell, distance2);
    CircleSearch search{circle.centre, cell.outward, cell.forward, circle.radius, cell.posH};
    SurfacePoint found;
    scratch.foundCount = 0; // without a start triangle there is no flood
    if (!placeOnSurface(cell, search, scratch, found, status))
        return false;
    if (found.triangle == 0)
        placeOffSurface(cell, search, scratch, found);
    if (foldsOver(cell, found.point)) {
        status = DRAPE_CELL_FOLDS;
        return false;
    }
    return storeNode(found.point, found.normal, found.triangle, 2, {direction, cell.r},
                     {walkDirection, cell.e}, status);
}

} // namespace

bool fillRow(const std::int32_t* nodes, std::int32_t pivotIndex, std::int32_t length, std::int32_t direction,
             std::int32_t walkDirection, SearchScratch& scratch, FrontRecord& row, std::int32_t& status) {
    const std::int64_t turn = std::int64_t{walkDirection} - direction;
    const bool upward = turn == 1 || turn == -3;
    const std::int32_t step = upward ? 1 : -1;
    const std::int32_t cells = upward ? length - pivotIndex : pivotIndex - 1;
    // Directions that are none can't be walked in, but where no cell is left there is nothing to walk.
    const bool walkable = cells < 1 || (isDirection(direction) && isDirection(walkDirection));
    if (!(upward || turn == -1 || turn == 3) || !walkable) {
        status = DRAPE_DIRECTIONS_NOT_NEIGHBOURS;
        return false;
    }
    status = DRAPE_OK;
    for (std::int32_t k = 1; k <= cells; ++k) {
        if (!closeCell(nodes[pivotIndex + k * step - 1], direction, walkDirection, scratch, status))
            return false;
        if (!upward)
            row.firstNode = *model->nodeCount;
        ++row.length;
    }
    row.pivotRequest = PIVOT_AUTOMATIC;
    return true;
}

} // namespace drape

using namespace drape;

extern "C" int32_t uzprdf(const int32_t* nodes, const int32_t* pivotIndex, const int32_t* length,
                          const int32_t* direction, const int32_t* walkDirection, int32_t* work,
                          int32_t* rowRecord, int32_t* status) {
    SearchScratch scratch(work);
    return fillRow(nodes, *pivotIndex, *length, *direction, *walkDirection, scratch, asFront(rowRecord),
                   *status)
               ? 0
               : 1;
}
