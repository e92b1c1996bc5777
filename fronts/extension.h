// Widening a front along its row.
#pragma once

#include "run/model.h"

namespace drape {

// Takes in the nodes at both ends of the row that have no row ahead of them yet. False with status 2, and the
// record as it was.
bool extendFront(FrontRecord& front, std::int32_t& status);

} // namespace drape
