// Defects of a row.
#pragma once

#include "run/model.h"

namespace drape {

enum DefectKind : std::int32_t {
    CLOSED_BETWEEN_OPEN = 1, // one closed node between two open ones
    EDGE_ACROSS_GAP = 2,     // two open neighbours whose edge crosses the boundary twice or more
    GAP_BEFORE_OPEN = 3,     // a node across a gap, followed by an open one
    OPEN_BEFORE_GAP = 4,     // an open node, followed by one across a gap
};

struct DefectRecord {
    std::int32_t kind = 0;
    std::int32_t node = 0; // node of the front at which the defect begins
    std::int32_t twin = 0; // written by the split of kind 1, read by nobody
    std::int32_t nextNode = 0;
    std::int32_t spare = 0;
};
static_assert(sizeof(DefectRecord) == DRAPE_DEFECT_FIELDS * sizeof(std::int32_t));

constexpr std::int32_t DEFECT_TABLE_SIZE = 10;

inline DefectRecord* asDefects(std::int32_t* records) {
    return reinterpret_cast<DefectRecord*>(records);
}

// Writes the first defect of a row to `defect` and sets `found` to 1, or leaves `defect` alone with `found`
// 0. False with status 1.
bool findDefect(const FrontRecord& row, const std::int32_t* rowCrossings, std::int32_t& found,
                DefectRecord& defect, std::int32_t& status);

} // namespace drape
