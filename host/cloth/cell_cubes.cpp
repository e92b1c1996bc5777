// Cells are sorted by the key of their cube, and a table names the range of each.
#include "host/cloth/cell_cubes.h"

#include <cmath>

namespace drape::host {

using namespace vec;

Point cellCentre(const Grid& grid, const Cell& cell) {
    Point sum{};
    for (const std::int32_t node : cell.nodes) {
        sum = sum + 0.25 * nodePosition(grid, node);
    }
    return sum;
}

CellCubes::CellCubes(const Grid& grid, const std::vector<Cell>& cells, double width) : width_(width) {
    if (!(width > 0.0) || !std::isfinite(width)) {
        return;
    }
    std::vector<std::pair<std::uint64_t, std::uint32_t>> places;
    for (std::size_t k = 0; k < cells.size(); ++k) {
        const Point centre = cellCentre(grid, cells[k]);
        if (isFinite(centre)) {
            places.emplace_back(keyOf(cubeOf(centre)), static_cast<std::uint32_t>(k));
        }
    }
    std::sort(places.begin(), places.end());
    for (const auto& [key, cell] : places) {
        const auto at = static_cast<std::ptrdiff_t>(order_.size());
        ++ranges_.try_emplace(key, Range{at, 0}).first->second.count;
        order_.push_back(cell);
    }
}

Cube cubeOf(const Point& p, double width) {
    constexpr double farthest = 1e15;
    Cube cube{};
    for (std::size_t k = 0; k < 3; ++k) {
        // In this order no number, as 0 / 0 makes it without cubes, ends as the farthest.
        const double number = std::max(-farthest, std::min(farthest, std::floor(p[k] / width)));
        cube[k] = static_cast<std::int64_t>(number);
    }
    return cube;
}

// 21 bits per axis; far cubes that share a key only bring candidates that the distance turns down.
std::uint64_t CellCubes::keyOf(const Cube& cube) {
    constexpr std::uint64_t mask = (1U << 21U) - 1;
    const auto part = [](std::int64_t number) { return static_cast<std::uint64_t>(number) & mask; };
    return part(cube[0]) << 42U | part(cube[1]) << 21U | part(cube[2]);
}

} // namespace drape::host
