// Space in cubes, and cells by the cube that their middle lies in, for questions after what is near a point.
#pragma once

#include "host/cloth/grid.h"

#include <algorithm>
#include <unordered_map>
#include <vector>

namespace drape::host {

using Cube = std::array<std::int64_t, 3>; // counted along the axes

// The cube of a width (in the mould's unit) that holds a point; where there are none, as with a width of 0 or
// infinity, some cube.
Cube cubeOf(const Point& p, double width);

// Whether `is` holds for a cube or one around it.
template <class Is>
bool anyAround(const Cube& cube, Is is) {
    for (std::int64_t x = -1; x <= 1; ++x) {
        for (std::int64_t y = -1; y <= 1; ++y) {
            for (std::int64_t z = -1; z <= 1; ++z) {
                if (is(Cube{cube[0] + x, cube[1] + y, cube[2] + z})) {
                    return true;
                }
            }
        }
    }
    return false;
}

// Mean of a cell's corners.
Point cellCentre(const Grid& grid, const Cell& cell);

class CellCubes {
public:
    // `width` of a cube, in the mould's unit; with 0 or infinity there are no cubes.
    CellCubes(const Grid& grid, const std::vector<Cell>& cells, double width);

    Cube cubeOf(const Point& p) const { return drape::host::cubeOf(p, width_); }

    // Calls `use` with the index of each cell in a cube and the cubes around it.
    template <class Use>
    void around(const Cube& cube, Use use) const {
        anyAround(cube, [&](const Cube& near) {
            const auto found = ranges_.find(keyOf(near));
            if (found != ranges_.end()) {
                const auto first = order_.begin() + found->second.first;
                std::for_each(first, first + found->second.count, use);
            }
            return false;
        });
    }

    template <class Use>
    void around(const Point& p, Use use) const {
        around(cubeOf(p), use);
    }

private:
    struct Range {
        std::ptrdiff_t first, count;
    };

    static std::uint64_t keyOf(const Cube& cube);

    double width_;
    std::vector<std::uint32_t> order_; // cells, cube by cube, ascending in each
    std::unordered_map<std::uint64_t, Range> ranges_;
};

} // namespace drape::host
