// The next row of a front.
#pragma once

#include "surface/surface_search.h"

namespace drape {

// Builds the row ahead of the front at `frontIndex`; its nodes get no status yet. False with the code of the
// first failure, and a half row in the store.
bool buildRow(std::int32_t frontIndex, SearchScratch& scratch, FrontRecord& row, std::int32_t& status);

} // namespace drape
