// Cutting a finished row into new fronts.
#pragma once

#include "run/model.h"

namespace drape {

// Replaces the front at `frontIndex` by one front per usable stretch of `row`. `frontIndex` ends on the last
// one inserted, or one below where it was. False with a code of the front table.
bool segmentRow(const FrontRecord& row, std::int32_t& frontIndex, const std::int32_t* rowCrossings,
                std::int32_t& status);

} // namespace drape
