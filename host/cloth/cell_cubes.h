// Cells by the cube of space that their middle lies in, for questions after the cells near a point.
#pragma once

#include "host/cloth/grid.h"

#include <algorithm>
#include <cmath>

namespace drape::host {

inline Point cellCentre(const Grid& grid, const Cell& cell) {
    Point sum{};
    for (const std::int32_t node : cell.nodes) {
        sum = vec::add(sum, vec::scale(nodePosition(grid, node), 0.25));
    }
    return sum;
}

class CellCubes {
public:
    // `width` of a cube, in the mould's unit.
    CellCubes(const Grid& grid, const std::vector<Cell>& cells, double width) : width_(width) {
        for (std::size_t k = 0; k < cells.size(); ++k) {
            const Point centre = cellCentre(grid, cells[k]);
            if (vec::isFinite(centre)) {
                entries_.emplace_back(key(cube(centre)), static_cast<std::int32_t>(k));
            }
        }
        std::sort(entries_.begin(), entries_.end());
    }

    // Calls `use` with the index of each cell in the cube of `p` and the cubes around it.
    template <class Use>
    void around(const Point& p, Use use) const {
        const auto middle = cube(p);
        for (std::int64_t x = -1; x <= 1; ++x) {
            for (std::int64_t y = -1; y <= 1; ++y) {
                for (std::int64_t z = -1; z <= 1; ++z) {
                    const auto wanted = key({middle[0] + x, middle[1] + y, middle[2] + z});
                    for (auto at = std::lower_bound(entries_.begin(), entries_.end(), std::pair(wanted, 0));
                         at != entries_.end() && at->first == wanted; ++at) {
                        use(static_cast<std::size_t>(at->second));
                    }
                }
            }
        }
    }

private:
    std::array<std::int64_t, 3> cube(const Point& p) const {
        const auto index = [&](double x) {
            return static_cast<std::int64_t>(std::clamp(std::floor(x / width_), -1e15, 1e15));
        };
        return {index(p[0]), index(p[1]), index(p[2])};
    }

    // 21 bits per axis; far cubes that share a key only bring candidates that the distance turns down.
    static std::uint64_t key(const std::array<std::int64_t, 3>& at) {
        constexpr std::uint64_t mask = (1U << 21U) - 1;
        return (static_cast<std::uint64_t>(at[0]) & mask) << 42U |
               (static_cast<std::uint64_t>(at[1]) & mask) << 21U | (static_cast<std::uint64_t>(at[2]) & mask);
    }

    double width_;
    std::vector<std::pair<std::uint64_t, std::int32_t>> entries_;
};

} // namespace drape::host
