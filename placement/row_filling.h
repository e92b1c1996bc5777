// Filling a row to one side of its pivot.
#pragma once

#include "surface/surface_search.h"

namespace drape {

// Closes one cell after the other along the old row `nodes` (positions 1 to `length`), from the pivot towards
// `walkDirection`, and keeps `row` up to date. False with status 14, 15, 16, 208 or a code of the node store
// or of the work arrays; what was placed before stays.
bool fillRow(const std::int32_t* nodes, std::int32_t pivotIndex, std::int32_t length, std::int32_t direction,
             std::int32_t walkDirection, SearchScratch& scratch, FrontRecord& row, std::int32_t& status);

} // namespace drape
