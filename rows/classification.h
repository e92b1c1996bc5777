// The status of the nodes of a new row.
#pragma once

#include "run/model.h"

namespace drape {

// `record` has the row's direction, first node and length; the crossing counts stand in the row's order.
void classifyRow(const FrontRecord& record, const std::int32_t* rowCrossings,
                 const std::int32_t* backCrossings);

} // namespace drape
