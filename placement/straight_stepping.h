// One node stepped straight forward from a known one.
#pragma once

#include "surface/surface_search.h"

namespace drape {

// Places and stores the node one cell length from `node` in `direction`, as number nodeCount. False with
// status 17, a code of the node store or of the work arrays.
bool stepStraight(std::int32_t node, std::int32_t direction, std::int32_t stepMode, SearchScratch& scratch,
                  std::int32_t& status);

} // namespace drape
