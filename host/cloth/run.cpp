// The library compares its tolerance with lengths here and with areas there, so the same mould in metres and
// in millimetres would be draped differently. It is therefore handed the mould in a unit near the
// cell length. The factor is a power of two, which changes no digit of any coordinate.
#include "host/cloth/run.h"

#include "drape.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace drape::host {
namespace {

constexpr std::int32_t fewestNodes = 1000;

double scaleFor(const Choice& choice) {
    return std::exp2(-std::round(std::log2(std::sqrt(choice.stepA * choice.stepB))));
}

// Room for every array of a run.
void makeRoom(Grid& grid, std::int32_t capacity) {
    const auto n = static_cast<std::size_t>(capacity);
    for (auto* array :
         {&grid.link1, &grid.link2, &grid.link3, &grid.link4, &grid.i, &grid.j, &grid.triangle}) {
        array->assign(n, 0);
    }
    // A run that ends with a code can leave its last row without statuses; such nodes aren't part of the
    // cloth.
    grid.nodeStatus.assign(n, DRAPE_NODE_CLOSED);
    grid.position.assign(3 * n, 0.0);
    grid.flat.assign(2 * n, 0.0);
    grid.normal.assign(3 * n, 0.0);
}

void cutToSize(Grid& grid) {
    const auto n = static_cast<std::size_t>(std::max(grid.count, 0));
    for (auto* array : {&grid.link1, &grid.link2, &grid.link3, &grid.link4, &grid.i, &grid.j, &grid.triangle,
                        &grid.nodeStatus}) {
        array->resize(n);
        // A run that was stopped while it took a row back can leave links to nodes that are gone.
        if (array != &grid.i && array != &grid.j && array != &grid.triangle && array != &grid.nodeStatus) {
            std::replace_if(
                array->begin(), array->end(), [&](std::int32_t m) { return m < 0 || m > grid.count; }, 0);
        }
    }
    grid.position.resize(3 * n);
    grid.flat.resize(2 * n);
    grid.normal.resize(3 * n);
}

void callLibrary(const Mould& mould, const Choice& choice, Grid& grid, RunWatch* watch) {
    const double scale = scaleFor(choice);
    const auto scaled = [scale](Point p) { return Point{scale * p[0], scale * p[1], scale * p[2]}; };
    std::vector<Point> positions;
    positions.reserve(mould.positions.size());
    std::transform(mould.positions.begin(), mould.positions.end(), std::back_inserter(positions), scaled);
    const Point seed = scaled(choice.seed);
    const double stepA = scale * choice.stepA;
    const double stepB = scale * choice.stepB;
    const double tolerance = scale * choice.tolerance;
    const std::int32_t reserved = 0;
    const auto triangles = static_cast<std::int32_t>(mould.triangleCount());
    const auto vertices = static_cast<std::int32_t>(mould.positions.size());
    const auto fanLength = static_cast<std::int32_t>(mould.fan.size());
    const std::int32_t byGridLine = choice.pivotByGridLine ? 1 : 0;
    makeRoom(grid, choice.nodeCapacity);
    grid.count = 0;
    if (watch != nullptr) {
        watch->begun(grid.count, expectedCells(mould, choice));
    }
    gzprp2(seed.data(), choice.warp.data(), choice.weft.data(), &stepA, &stepB, grid.link3.data(),
           grid.link1.data(), grid.link2.data(), grid.link4.data(), grid.i.data(), grid.j.data(),
           grid.nodeStatus.data(), grid.triangle.data(), grid.position.data(), grid.flat.data(),
           grid.normal.data(), &choice.nodeCapacity, &reserved, &triangles, &vertices, &fanLength,
           mould.fanStart.data(), mould.fan.data(), mould.corners.data(), positions.front().data(),
           mould.flagged.data(), &grid.count, &tolerance, &byGridLine, &grid.status);
    if (watch != nullptr) {
        watch->ended();
    }
    cutToSize(grid);
    for (double& value : grid.position) {
        value /= scale;
    }
    for (double& value : grid.flat) {
        value /= scale;
    }
}

double perimeterOf(const Mould& mould) {
    double sum = 0.0;
    for (const Loop& loop : mould.loops) {
        sum += loop.length;
    }
    return sum;
}

double nodesFor(const Mould& mould, const Choice& choice, double layers) {
    // Rows that leave the mould cost a node or two per cell of its outline beyond the cells themselves.
    const double rim = 8.0 * perimeterOf(mould) / std::min(choice.stepA, choice.stepB);
    return layers * expectedCells(mould, choice) + rim + fewestNodes;
}

} // namespace

double expectedCells(const Mould& mould, const Choice& choice) {
    return mould.area / (choice.stepA * choice.stepB);
}

std::int32_t usualMostNodes(const Mould& mould, const Choice& choice) {
    constexpr double layers = 6.0;
    constexpr double most = 5e6;
    return static_cast<std::int32_t>(std::min(most, nodesFor(mould, choice, layers)));
}

Grid runDrape(const Mould& mould, Choice& choice, std::int32_t mostNodes, RunWatch* watch) {
    requireEdge(mould);
    constexpr double layers = 2.0;
    const double wanted = nodesFor(mould, choice, layers);
    choice.nodeCapacity = static_cast<std::int32_t>(std::clamp(wanted, 4.0, static_cast<double>(mostNodes)));
    Grid grid;
    while (true) {
        callLibrary(mould, choice, grid, watch);
        const bool full = grid.status == DRAPE_NODES_FULL || grid.status == DRAPE_FRONTS_FULL ||
                          (grid.status == DRAPE_NODE_NOT_COPIED && grid.count == choice.nodeCapacity);
        if (!full || choice.nodeCapacity >= mostNodes) {
            return grid;
        }
        choice.nodeCapacity = static_cast<std::int32_t>(
            std::min<std::int64_t>(std::int64_t{4} * choice.nodeCapacity, mostNodes));
    }
}

} // namespace drape::host
