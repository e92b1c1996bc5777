// One finished row out of a front.
#pragma once

#include "rows/crossing.h"

namespace drape {

// Builds the next row of the front at `frontIndex`, counts its crossings and gives its nodes their status.
bool completeRow(std::int32_t frontIndex, FrontRecord& row, const RowArrays& lists, std::int32_t& status);

} // namespace drape
