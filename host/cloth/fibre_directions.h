// Directions of the two fibre families in space, at a node and inside a cell. Warp runs along direction 1,
// weft along direction 4; both come out as unit vectors, or zero where the grid gives none.
#pragma once

#include "host/cloth/grid.h"

namespace drape::host {

// `node` is 0-based, `along` and `across` run from 0 to 1.
Point warpAtNode(const Grid& grid, std::int32_t node);
Point weftAtNode(const Grid& grid, std::int32_t node);

// Inside a cell the warp turns evenly from the edge c-a (`across` 0) to the edge b-e (`across` 1), and the
// weft from c-b (`along` 0) to a-e (`along` 1).
Point warpInCell(const Grid& grid, const Cell& cell, double across);
Point weftInCell(const Grid& grid, const Cell& cell, double along);

} // namespace drape::host
