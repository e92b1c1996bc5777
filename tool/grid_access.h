// Reading a node's places out of the grid's flat arrays.
#pragma once

#include "drape_data.h"

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

} // namespace tool
