// The status of the nodes of a new row.
#pragma once

#include "rows/crossing.h"

namespace drape {

// Takes the nodes of the row in order and its crossing counts; `direction` leads from the row behind.
void classifyRow(std::int32_t direction, std::int32_t length, const RowLists& row);

} // namespace drape
