// From a place in space to the flat pattern, through one cell.
#pragma once

#include "transfer/global_search.h"

namespace drape {

struct CurvePoint {
    Vec3 position;
    Vec3 direction; // along which the point is projected onto a cell; of any length
};

// Projects the point onto the cell and writes its flat position, if there is one, to `flatPoint`. True if the
// point lies in the cell. A cell with a missing corner has no say: false, nothing written.
bool mapThroughCell(const GridView& grid, const double* nodeFlat, const CurvePoint& point, std::int32_t cell,
                    double* flatPoint);

// Second try for a point that doesn't lie in `cell`: takes another cell from the ranking of all cells, stores
// it in `cell` and the flat position found through it in `flat`.
void mapThroughOtherCell(GlobalSearch& search, const double* nodeFlat, const CurvePoint& point,
                         std::int32_t& cell, double* flat);

} // namespace drape
