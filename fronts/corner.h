// Corners at the ends of a front.
#pragma once

#include "rows/crossing.h"

namespace drape {

enum CornerKind : std::int32_t {
    FIRST_END_BEHIND_CLOSED_PAIR = 1, // a front on existing nodes
    FIRST_END_BEHIND_CLOSED = 2,      // a front on a twin of the node behind
    FIRST_END_ACROSS_GAP = 3,         // the edge from the node behind is doubled
    LAST_END_BEHIND_CLOSED_PAIR = 4,  // a front on existing nodes
    LAST_END_BEHIND_CLOSED = 5,       // the node behind is copied, the end node unhooked from it
    LAST_END_ACROSS_GAP = 6,          // the edge to the node behind is doubled
};

struct CornerRecord {
    std::int32_t newDirection = 0;
    std::int32_t backNode = 0;
    std::int32_t priorNode = 0; // last end only
    std::int32_t kind = 0;
    std::int32_t firstNode = 0;
    std::int32_t lastNode = 0; // last end only
    std::int32_t frontIndex = 0;
};
static_assert(sizeof(CornerRecord) == DRAPE_CORNER_FIELDS * sizeof(std::int32_t));

// Writes a record for each end of the front at `frontIndex` that stands in a corner, at most two. `cursor`
// remembers where in the row the last search ended, for fronts that are looked at in row order; null searches
// the whole row, where the last of equal entries counts.
void findCorners(const RowLists& row, std::int32_t rowLength, std::int32_t frontIndex, std::int32_t* cursor,
                 CornerRecord* corners, std::int32_t& cornerCount);

// Opens a short sideways front for each record, directly behind the front it was found at. False with the
// code of the first failure.
bool openCorners(const CornerRecord* corners, std::int32_t cornerCount, std::int32_t& status);

} // namespace drape
