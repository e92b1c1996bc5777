// What a grid says to an engineer: how far each cell is sheared, how much cloth it takes, how much of the
// mould it covers and how much of it lies over other cloth. The shear of a cell is that of its two mid-lines:
// 90 degrees less the angle between its mean warp and its mean weft side, without sign.
#include "host/cloth/measure.h"

#include "drape.h"
#include "host/cloth/cell_cover.h"
#include "host/mesh/point.h"

#include <algorithm>
#include <numbers>

namespace drape::host {

using namespace vec;

namespace {

double shearOf(const Grid& grid, const std::array<std::int32_t, 4>& nodes) {
    const Point a = nodePosition(grid, nodes[0]);
    const Point b = nodePosition(grid, nodes[1]);
    const Point c = nodePosition(grid, nodes[2]);
    const Point d = nodePosition(grid, nodes[3]);
    const Point warp = unit((b - a) + (c - d));
    const Point weft = unit((d - a) + (c - b));
    const double sine = std::clamp(std::abs(dot(warp, weft)), 0.0, 1.0);
    return std::asin(sine) * 180.0 / std::numbers::pi;
}

std::vector<Cell> cellsOf(const Grid& grid) {
    std::vector<Cell> cells;
    for (std::int32_t n = 0; n < grid.count; ++n) {
        const std::int32_t right = grid.link1[static_cast<std::size_t>(n)];
        const std::int32_t up = grid.link4[static_cast<std::size_t>(n)];
        const std::int32_t across = right > 0 ? grid.link4[static_cast<std::size_t>(right) - 1] : 0;
        if (right == 0 || up == 0 || across == 0) {
            continue;
        }
        Cell cell;
        cell.nodes = {n, right - 1, across - 1, up - 1};
        cell.shear = shearOf(grid, cell.nodes);
        cell.onSurface = std::all_of(cell.nodes.begin(), cell.nodes.end(), [&](std::int32_t m) {
            return grid.nodeStatus[static_cast<std::size_t>(m)] == DRAPE_NODE_OPEN &&
                   grid.triangle[static_cast<std::size_t>(m)] > 0;
        });
        cells.push_back(cell);
    }
    return cells;
}

// Adds one cell on the surface to the sums.
void count(const Grid& grid, const Cell& cell, Measures& sums) {
    const auto flat = [&](std::size_t k, std::size_t axis) {
        return grid.flat[2 * static_cast<std::size_t>(cell.nodes[k]) + axis];
    };
    const Point diagonal1 = nodePosition(grid, cell.nodes[2]) - nodePosition(grid, cell.nodes[0]);
    const Point diagonal2 = nodePosition(grid, cell.nodes[3]) - nodePosition(grid, cell.nodes[1]);
    sums.doubledShare += 0.5 * length(cross(diagonal1, diagonal2));
    sums.patternArea += 0.5 * std::abs((flat(2, 0) - flat(0, 0)) * (flat(3, 1) - flat(1, 1)) -
                                       (flat(3, 0) - flat(1, 0)) * (flat(2, 1) - flat(0, 1)));
    for (std::size_t k = 0; k < 4; ++k) {
        const bool first = sums.cellsOnSurface == 0 && k == 0;
        for (std::size_t axis = 0; axis < 2; ++axis) {
            double& low = sums.patternExtent[axis];
            double& high = sums.patternExtent[axis + 2];
            low = first ? flat(k, axis) : std::min(low, flat(k, axis));
            high = first ? flat(k, axis) : std::max(high, flat(k, axis));
        }
    }
    sums.meanShear += cell.shear;
    sums.largestShear = std::max(sums.largestShear, cell.shear);
    sums.shareBeyondLocking += cell.shear > sums.lockingAngle ? 1.0 : 0.0;
    ++sums.cellsOnSurface;
}

// Expects the area of all cells on the surface in `doubledShare` and leaves the shares there.
void shareOut(const Mould& mould, const Grid& grid, Measures& sums) {
    const CellCover cells(grid, sums.cells);
    double covered = 0.0;
    double under = 0.0; // of this, under cells that lie on the mould with all corners
    CellCover::Hint hint;
    for (const Facet& facet : mould.facets) {
        const Cover cover = cells.coverOf(facet, hint);
        covered += cover != Cover::none ? facet.area : 0.0;
        under += cover == Cover::whole ? facet.area : 0.0;
    }
    sums.coveredShare = covered / sums.mouldArea;
    sums.doubledShare = std::max(0.0, sums.doubledShare - under) / sums.mouldArea;
}

} // namespace

Measures measure(const Mould& mould, const Grid& grid, double lockingAngle) {
    Measures sums;
    sums.lockingAngle = lockingAngle;
    sums.mouldArea = mould.area;
    sums.cells = cellsOf(grid);
    for (const Cell& cell : sums.cells) {
        if (cell.onSurface) {
            count(grid, cell, sums);
        }
    }
    if (sums.cellsOnSurface > 0) {
        sums.meanShear /= static_cast<double>(sums.cellsOnSurface);
        sums.shareBeyondLocking /= static_cast<double>(sums.cellsOnSurface);
        shareOut(mould, grid, sums);
    }
    return sums;
}

} // namespace drape::host
