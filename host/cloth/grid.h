// The grid of a drape: its nodes and links as the library returns them, its cells, and how to read them.
#pragma once

#include "host/mesh/point.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <vector>

namespace drape::host {

// The grid as the library returns it. Node numbers in the links are 1-based, 0 for none; entry n - 1 of
// each array belongs to node n. All arrays are `count` nodes long.
struct Grid {
    std::int32_t count = 0;
    std::int32_t status = 0; // the library's code for the run
    std::vector<std::int32_t> link1, link2, link3, link4, i, j, nodeStatus, triangle;
    std::vector<double> position; // 3 per node, in the mould's unit
    std::vector<double> flat;     // 2 per node: along warp and weft from the seed, in the mould's unit
    std::vector<double> normal;   // 3 per node, unit vector of the surface there
};

// A complete cell: corners c, link1[c], link4[link1[c]], link4[c] going round, 0-based nodes.
struct Cell {
    std::array<std::int32_t, 4> nodes{};
    double shear = 0.0;     // degrees, above 0 where the angle between warp and weft has grown smaller
    bool onSurface = false; // all four corners are open and lie on a triangle
};

// How a triangle is covered, judged at its centroid.
enum class Cover {
    none = 0,  // no cell reaches it
    whole = 1, // by a cell that lies on the mould with all its corners
    edge = 2   // by a cell that hangs over an edge of the mould
};

// `node` is 0-based.
inline Point nodePosition(const Grid& grid, std::int32_t node) {
    const auto at = 3 * static_cast<std::size_t>(node);
    return {grid.position[at], grid.position[at + 1], grid.position[at + 2]};
}

inline Point nodeNormal(const Grid& grid, std::int32_t node) {
    const auto at = 3 * static_cast<std::size_t>(node);
    return {grid.normal[at], grid.normal[at + 1], grid.normal[at + 2]};
}

inline std::array<double, 2> nodeFlat(const Grid& grid, std::int32_t node) {
    const auto at = 2 * static_cast<std::size_t>(node);
    return {grid.flat[at], grid.flat[at + 1]};
}

// How many times as thick as flat cloth a sheared cell is, since it keeps its cloth on less room.
inline double thicknessFactor(double shear) {
    return 1.0 / std::cos(shear * std::numbers::pi / 180.0);
}

// A cell at the rim of the cloth: part of it lies on the mould, part hangs over an edge.
inline bool hangsOverEdge(const Grid& grid, const Cell& cell) {
    return !cell.onSurface && std::any_of(cell.nodes.begin(), cell.nodes.end(), [&](std::int32_t node) {
        return grid.nodeStatus[static_cast<std::size_t>(node)] == 0;
    });
}

} // namespace drape::host
