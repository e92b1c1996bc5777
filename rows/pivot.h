// Where the next row of a front starts.
#pragma once

#include "run/model.h"

namespace drape {

// Both answer with a position in `nodes`, 1 to `length`; false with status 20 and position 0 if the row
// doesn't hold a node that was asked for. Automatic choices avoid nodes of negative status.

// The least sheared cell of the row, then the grid line through the seed, then the middle.
bool pivotByLeastShear(const std::int32_t* nodes, std::int32_t length, std::int32_t direction,
                       std::int32_t request, std::int32_t& pivotIndex, std::int32_t& status);

// The grid line through the seed, then the middle.
bool pivotByGridLine(const std::int32_t* nodes, std::int32_t length, std::int32_t direction,
                     std::int32_t request, std::int32_t& pivotIndex, std::int32_t& status);

} // namespace drape
