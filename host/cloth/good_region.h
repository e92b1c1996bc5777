// The part of a drape that is good cloth: grown from the seed cell by cell, within locking, in one layer, and
// such that it would come out the same if it were draped alone. A cell hangs on those between it and the
// fibre lines through the seed, so behind a cell that isn't good none is.
#pragma once

#include "host/cloth/grid.h"
#include "host/cloth/ground.h"

#include <limits>
#include <set>

namespace drape::host {

struct GoodWishes {
    double lockingAngle = 45.0;                                     // degrees
    double mostAlongWarp = std::numeric_limits<double>::infinity(); // in the mould's unit
    double mostAlongWeft = std::numeric_limits<double>::infinity();
};

// Lower corners, as grid coordinates from the seed, of cells that aren't to be had.
using BlockedCells = std::set<std::array<std::int32_t, 2>>;

struct GoodRegion {
    std::vector<char> cells; // per cell, 1 if it belongs to the region

    // Per vertex of the ground, how far along the cloth it is from where the good cloth ends, smoothed over a
    // few cells; at the mould's own edge cloth doesn't end. Below 0 outside.
    std::vector<double> depths;
    std::vector<double> rooms; // per vertex, how far along the cloth it is from where the cloth isn't wide or
                               // long enough any more; below 0 beyond, infinite without such a limit
    std::vector<Point> trouble; // middles of the cells next to the region that keep it from going on
    BlockedCells blocked;       // and their lower corners
};

// `cells` are all complete cells of `grid`, whose first node is the seed, which lies on `ground`. Cells in
// `blocked` count as not good.
GoodRegion goodRegionOf(const Ground& ground, const Grid& grid, const std::vector<Cell>& cells,
                        const GoodWishes& wishes, const BlockedCells& blocked);

} // namespace drape::host
