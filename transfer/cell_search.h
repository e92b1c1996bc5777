// The nearest cells of a point, by a look at every cell of the grid.
#pragma once

#include "transfer/grid_view.h"

namespace drape {

// The longest ranking that anyone asks for.
constexpr std::int32_t longestRanking = 4;

// Writes the `count` nearest cells of p to `ranks`, nearest first; of equal cells the lowest number comes
// first. Places for which no complete cell is left hold 1.
void rankCells(const GridView& grid, const Vec3& p, std::int32_t count, std::int32_t* ranks);

} // namespace drape
