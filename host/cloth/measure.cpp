// What a grid says to an engineer: how far each cell is sheared, how much cloth it takes, how much of the
// mould it covers and how much of it lies over other cloth. The shear of a cell is that of its two mid-lines:
// 90 degrees less the angle between its mean warp and its mean weft side.
#include "host/cloth/measure.h"

#include "drape.h"
#include "host/cloth/bare_area.h"
#include "host/mesh/point.h"

#include <algorithm>
#include <numbers>
#include <numeric>

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
    const double sine = std::clamp(dot(warp, weft), -1.0, 1.0);
    return std::asin(sine) * 180.0 / std::numbers::pi;
}

// Adds one cell on the surface to the sums.
void count(const Cell& cell, Measures& sums) {
    const double shear = std::abs(cell.shear);
    sums.meanShear += shear;
    sums.largestShear = std::max(sums.largestShear, shear);
    sums.shareBeyondLocking += shear > sums.lockingAngle ? 1.0 : 0.0;
    ++sums.cellsOnSurface;
}

// Adds the turns of both yarns at a node: the angle between the sides before and behind it, as seen along the
// cloth's normal there, so that a yarn which only follows the mould doesn't turn.
void countTurns(const Grid& grid, std::int32_t node, const std::vector<char>& onSurface, Measures& sums) {
    const auto neighbour = [&](const std::vector<std::int32_t>& link) {
        const std::int32_t other = link[at(node)] - 1;
        return other >= 0 && onSurface[at(other)] != 0 ? other : -1;
    };
    const std::array<std::int32_t, 4> around{neighbour(grid.link1), neighbour(grid.link4),
                                             neighbour(grid.link3), neighbour(grid.link2)};
    if (*std::min_element(around.begin(), around.end()) < 0) {
        return;
    }
    const auto place = [&](std::size_t k) { return nodePosition(grid, around[k]); };
    const Point normal = unit(cross(place(0) - place(2), place(1) - place(3)));
    const Point here = nodePosition(grid, node);
    for (const std::size_t k : {0U, 1U}) {
        const Point before = here - place(k + 2);
        const Point behind = place(k) - here;
        const double turn =
            std::abs(std::atan2(dot(cross(before, behind), normal),
                                dot(before, behind) - dot(before, normal) * dot(behind, normal)));
        const double degrees = turn * 180.0 / std::numbers::pi;
        if (degrees > sums.largestTurn) {
            sums.largestTurn = degrees;
            sums.largestTurnAt = here;
        }
    }
}

void countTurns(const Grid& grid, Measures& sums) {
    std::vector<char> onSurface(at(grid.count), 0);
    for (const Cell& cell : sums.cells) {
        for (std::size_t k = 0; cell.onSurface && k < 4; ++k) {
            onSurface[at(cell.nodes[k])] = 1;
        }
    }
    for (std::int32_t node = 0; node < grid.count; ++node) {
        if (onSurface[at(node)] != 0) {
            countTurns(grid, node, onSurface, sums);
        }
    }
}

// An outline that is the mould's edge and nothing else leaves nothing bare. Of the pattern's cloth, what the
// mould has no room for lies over other cloth.
void shareOut(const Mould& mould, const Grid& grid, Measures& sums) {
    const std::vector<NetFace> faces = netFaces(grid, sums);
    sums.bare = sums.net.reachesEdge() ? std::vector<double>{} : bareAreas(mould, grid, sums, faces);
    const double bare = std::accumulate(sums.bare.begin(), sums.bare.end(), 0.0);
    const double covered = std::max(0.0, sums.mouldArea - bare);
    double cloth = 0.0;
    for (const NetFace& face : faces) {
        cloth += areaOf(grid, sums.cells[face.cell], face);
    }
    sums.coveredShare = covered / sums.mouldArea;
    sums.doubledShare = std::max(0.0, cloth - covered) / sums.mouldArea;
}

} // namespace

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

Measures measureShear(const Grid& grid, double lockingAngle) {
    Measures sums;
    sums.lockingAngle = lockingAngle;
    sums.cells = cellsOf(grid);
    for (const Cell& cell : sums.cells) {
        if (cell.onSurface) {
            count(cell, sums);
        }
    }
    if (sums.cellsOnSurface > 0) {
        countTurns(grid, sums);
        sums.meanShear /= static_cast<double>(sums.cellsOnSurface);
        sums.shareBeyondLocking /= static_cast<double>(sums.cellsOnSurface);
    }
    return sums;
}

void measureCover(const Mould& mould, const Grid& grid, Measures& sums) {
    sums.mouldArea = mould.area;
    sums.net = netPatternOf(mould, grid, sums.cells);
    if (sums.cellsOnSurface > 0) {
        shareOut(mould, grid, sums);
    }
}

Measures measure(const Mould& mould, const Grid& grid, double lockingAngle) {
    Measures measures = measureShear(grid, lockingAngle);
    measureCover(mould, grid, measures);
    return measures;
}

} // namespace drape::host
