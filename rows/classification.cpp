// Row status classification: a node ends open only if an open node reaches it without crossing the boundary,
// straight from behind or, for one step, along the row.
#include "rows/classification.h"

#include "services/work_arrays.h"

namespace drape {
namespace {

bool undecided(std::int32_t n) {
    return model->statusOf(n) == DRAPE_NODE_UNDECIDED;
}

void openFromBehind(std::int32_t direction, std::int32_t length, const RowLists& row) {
    for (std::int32_t i = 0; i < length; ++i) {
        const std::int32_t behind = model->statusOf(model->link(opposite(direction), row.nodes[i]));
        if (row.backCrossings[i] == 0 && (behind == DRAPE_NODE_OPEN || behind == DRAPE_NODE_CUT))
            model->setStatus(row.nodes[i], DRAPE_NODE_OPEN);
    }
}

void takeFrom(std::int32_t neighbour, std::int32_t node, std::int32_t crossings) {
    if (undecided(node) && !undecided(neighbour) && crossings == 0)
        model->setStatus(node, model->statusOf(neighbour));
}

// Each sweep reads the neighbour that it hasn't passed yet, so an opening moves one place and no further.
void openAlongRow(std::int32_t length, const RowLists& row) {
    for (std::int32_t i = 0; i + 1 < length; ++i)
        takeFrom(row.nodes[i + 1], row.nodes[i], row.rowCrossings[i]);
    for (std::int32_t i = length - 1; i > 0; --i)
        takeFrom(row.nodes[i - 1], row.nodes[i], row.rowCrossings[i - 1]);
}

void markGaps(std::int32_t direction, std::int32_t length, const RowLists& row) {
    for (std::int32_t i = 0; i < length; ++i) {
        const std::int32_t behind = model->link(opposite(direction), row.nodes[i]);
        if (row.backCrossings[i] == 2 && model->statusOf(behind) == DRAPE_NODE_OPEN &&
            model->statusOf(row.nodes[i]) != DRAPE_NODE_CLOSED)
            model->setStatus(row.nodes[i], DRAPE_NODE_ACROSS_GAP);
    }
}

} // namespace

void classifyRow(std::int32_t direction, std::int32_t length, const RowLists& row) {
    for (std::int32_t i = 0; i < length; ++i)
        model->setStatus(row.nodes[i], DRAPE_NODE_UNDECIDED);
    openFromBehind(direction, length, row);
    openAlongRow(length, row);
    for (std::int32_t i = 0; i < length; ++i)
        if (undecided(row.nodes[i]))
            model->setStatus(row.nodes[i], DRAPE_NODE_CLOSED);
    markGaps(direction, length, row);
    for (std::int32_t i = 0; i < length; ++i)
        if (model->triangleOf(row.nodes[i]) == 0)
            model->setStatus(row.nodes[i], DRAPE_NODE_CLOSED);
}

} // namespace drape

using namespace drape;

extern "C" int32_t gzprip(const int32_t* rowRecord, const int32_t*, const int32_t* rowCrossings,
                          const int32_t* backCrossings, int32_t* status) {
    const FrontRecord& row = asFront(rowRecord);
    *status = DRAPE_OK;
    if (row.length < 1)
        return 0;
    WorkArray<std::int32_t> nodes;
    if (!nodes.take(row.length, *status))
        return 1;
    std::int32_t n = row.firstNode;
    for (std::int32_t i = 0; i < row.length; ++i) {
        nodes.data()[i] = n;
        n = model->link(next(row.direction), n);
    }
    classifyRow(row.direction, row.length, {nodes.data(), rowCrossings, backCrossings});
    return 0;
}
