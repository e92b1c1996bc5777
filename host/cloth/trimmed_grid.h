// Cloth cut along the edge of a part of the mould that it was draped over.
#pragma once

#include "host/cloth/grid.h"
#include "host/cloth/mould.h"

namespace drape::host {

// The same grid as if it had been draped over `part` alone: nodes beside it lie off the surface, and what no
// cell needs that reaches it is gone but for the seed, which stays the first node. `part` is cut out of the
// mould that `grid` lies on, so its triangles lie in that mould's planes; `step` is the longer cell length.
Grid trimmedTo(const Grid& grid, const Mould& part, double step);

} // namespace drape::host
