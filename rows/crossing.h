// Crossings of the cell edges of a row with the surface boundary.
#pragma once

#include "run/model.h"

namespace drape {

// What later steps read of a row: its nodes in order and the crossing counts beside them.
struct RowLists {
    const std::int32_t* nodes;
    const std::int32_t* rowCrossings;
    const std::int32_t* backCrossings;
};

// The three lists of a row of `length` nodes in one array of 3 x length - 1 int32.
struct RowArrays {
    std::int32_t* nodes;         // length
    std::int32_t* rowCrossings;  // length - 1, between neighbours
    std::int32_t* backCrossings; // length, between each node and the one behind it

    RowLists asInput() const { return {nodes, rowCrossings, backCrossings}; }
    static std::int64_t sizeFor(std::int32_t length) { return 3 * std::int64_t{length} - 1; }
    static RowArrays in(std::int32_t* block, std::int32_t length) {
        return {block, block + length, block + 2 * std::int64_t{length} - 1};
    }
};

// Fills the three lists. False with status 9 or 24.
bool countCrossings(const FrontRecord& row, const RowArrays& lists, std::int32_t& status);

} // namespace drape
