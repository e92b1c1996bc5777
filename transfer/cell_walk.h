// The way from a known cell to the cell of a point, over neighbouring cells.
#pragma once

#include "transfer/global_search.h"

namespace drape {

struct WalkResult {
    std::int32_t cell;
    bool third; // the cell is the third nearest of the whole grid
};

// `inner` allows the walk to move to cells that aren't on the edge of the grid.
WalkResult walkToCell(GlobalSearch& search, const Vec3& p, std::int32_t startCell, bool inner);

} // namespace drape
