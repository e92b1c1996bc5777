// A finished grid as curve transfer sees it.
//
// The grid comes back from the host as plain arrays, so links are followed with a look at the number they
// lead to: one that isn't a node of the grid counts as no neighbour. A cell is named by its lowest corner.
#pragma once

#include "services/vectors.h"

#include <cstdint>

namespace drape {

// Corners of a cell: c, a = link1[c], b = link4[c] and e = link4[a], all 0 if one of them is missing.
struct CellCorners {
    std::int32_t c, a, b, e;

    bool complete() const { return c != 0; }
};

struct GridView {
    const std::int32_t* link3;
    const std::int32_t* link1;
    const std::int32_t* link2;
    const std::int32_t* link4;
    const std::int32_t* nodeStatus;
    const double* nodePos;
    std::int32_t nodeCount;

    bool holds(std::int32_t node) const { return node >= 1 && node <= nodeCount; }

    // The neighbour of `node` by one of the link arrays, 0 if there is none.
    std::int32_t follow(const std::int32_t* link, std::int32_t node) const {
        if (!holds(node))
            return 0;
        const std::int32_t neighbour = link[node - 1];
        return holds(neighbour) ? neighbour : 0;
    }

    CellCorners corners(std::int32_t cell) const {
        const std::int32_t a = follow(link1, cell);
        const std::int32_t b = follow(link4, cell);
        const std::int32_t e = follow(link4, a);
        return a != 0 && b != 0 && e != 0 ? CellCorners{cell, a, b, e} : CellCorners{0, 0, 0, 0};
    }

    Vec3 position(std::int32_t node) const { return load(nodePos, node); }

    std::int64_t status(std::int32_t node) const { return nodeStatus[node - 1]; }
};

// The one measure of nearness: the squared distances from p to the four corners, added up.
inline double cellDistance(const GridView& grid, const Vec3& p, const CellCorners& cell) {
    return cadis(p, grid.position(cell.c)) + cadis(p, grid.position(cell.a)) +
           cadis(p, grid.position(cell.b)) + cadis(p, grid.position(cell.e));
}

} // namespace drape
