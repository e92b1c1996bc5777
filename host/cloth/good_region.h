// The part of a drape that is good cloth: grown from the seed cell by cell, within locking and in one layer,
// on the mould and on the flat pattern. Draped alone, cloth behind a place that was cut away comes out a
// little different, so a piece made of the region is draped again before it counts.
#pragma once

#include "host/cloth/grid.h"
#include "host/cloth/ground.h"

#include <limits>

namespace drape::host {

struct GoodWishes {
    double lockingAngle = 45.0;                                     // degrees
    double mostAlongWarp = std::numeric_limits<double>::infinity(); // in the mould's unit
    double mostAlongWeft = std::numeric_limits<double>::infinity();
};

struct GoodRegion {
    std::vector<char> cells; // per cell, 1 if it belongs to the region

    // Per vertex of the ground, how far along the cloth it is from where the good cloth ends, smoothed over a
    // few cells; at the mould's own edge cloth doesn't end. Below 0 outside.
    std::vector<double> depths;
    std::vector<double> rooms; // per vertex, how far along the cloth it is from where the cloth isn't wide or
                               // long enough any more; below 0 beyond, infinite without such a limit
    std::size_t doubles = 0;   // cells next to it, on the mould, under which the pattern is taken already
    std::vector<Point> trouble; // middles of the cells next to the region that keep it from going on
};

// `cells` are all complete cells of `grid`, whose first node is the seed, which lies on `ground`. Cloth
// counts against the limits where `within` is above 0 at a vertex.
GoodRegion goodRegionOf(const Ground& ground, const Grid& grid, const std::vector<Cell>& cells,
                        const GoodWishes& wishes, const std::vector<double>& within);

} // namespace drape::host
