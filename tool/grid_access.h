// Reading nodes and cells out of the grid's flat arrays.
#pragma once

#include "drape_data.h"

#include <algorithm>

namespace tool {

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

// A cell at the rim of the cloth: part of it lies on the mould, part hangs over an edge.
inline bool hangsOverEdge(const Grid& grid, const Cell& cell) {
    return !cell.onSurface && std::any_of(cell.nodes.begin(), cell.nodes.end(), [&](std::int32_t node) {
        return grid.nodeStatus[static_cast<std::size_t>(node)] == 0;
    });
}

} // namespace tool
