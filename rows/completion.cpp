// Row completion: a row is built, tested against the boundary and classified.
//
// An ordinary row is classified as a whole. The row of a side front, which a repair started at a cut, is
// walked from one end instead: that end is closed, and every crossing on the way changes the state.
#include "rows/completion.h"

#include "rows/classification.h"
#include "rows/new_row.h"
#include "surface/run_indices.h"

namespace drape {
namespace {

// The walk over a side row, from the end where `nodes` starts it. Positions count from 0.
class SideWalk {
public:
    void start(std::int32_t node) { model->setStatus(node, DRAPE_NODE_CLOSED); }

    void step(std::int32_t node, bool rowCrossed, bool backCrossed) {
        if (rowCrossed) {
            state_ = state_ == DRAPE_NODE_CLOSED ? DRAPE_NODE_OPEN : DRAPE_NODE_CLOSED;
            crossed_ = true;
        }
        if (backCrossed) {
            state_ = DRAPE_NODE_CLOSED;
            crossed_ = true;
        }
        model->setStatus(node, state_);
    }

    // The far end opens over an open node of the front if nothing was crossed on the way.
    void end(std::int32_t node, std::int32_t frontNode) {
        if (model->statusOf(node) == DRAPE_NODE_CLOSED && !crossed_ &&
            model->statusOf(frontNode) == DRAPE_NODE_OPEN)
            model->setStatus(node, DRAPE_NODE_OPEN);
    }

private:
    std::int32_t state_ = DRAPE_NODE_CLOSED;
    bool crossed_ = false;
};

std::int32_t lastNodeOf(const FrontRecord& front) {
    std::int32_t n = front.firstNode;
    for (std::int32_t i = 1; i < front.length; ++i)
        n = model->link(next(front.direction), n);
    return n;
}

void classifySideRow(const FrontRecord& front, const RowArrays& lists) {
    const std::int32_t last = front.length - 1;
    if (last < 0)
        return;
    SideWalk walk;
    if (model->statusOf(front.firstNode) != DRAPE_NODE_CUT) {
        walk.start(lists.nodes[last]);
        for (std::int32_t i = last - 1; i >= 0; --i)
            walk.step(lists.nodes[i], lists.rowCrossings[i] > 0, lists.backCrossings[i] > 0);
        walk.end(lists.nodes[0], front.firstNode);
    } else {
        walk.start(lists.nodes[0]);
        for (std::int32_t i = 1; i <= last; ++i)
            walk.step(lists.nodes[i], lists.rowCrossings[i - 1] > 0, lists.backCrossings[i] > 0);
        walk.end(lists.nodes[last], lastNodeOf(front));
    }
}

bool buildAndClassify(std::int32_t frontIndex, SearchScratch& scratch, FrontRecord& row,
                      const RowArrays& lists, std::int32_t& status) {
    if (!buildRow(frontIndex, scratch, row, status) || !countCrossings(row, lists, status))
        return false;
    const FrontRecord& front = model->front(frontIndex);
    if (front.sideFlag == 0)
        classifyRow(row, lists.rowCrossings, lists.backCrossings);
    else
        classifySideRow(front, lists);
    return true;
}

} // namespace

bool completeRow(std::int32_t frontIndex, FrontRecord& row, const RowArrays& lists, std::int32_t& status) {
    std::int32_t unreported = 0;
    return withScratch(
        [&](SearchScratch& scratch) { return buildAndClassify(frontIndex, scratch, row, lists, status); },
        status, unreported);
}

} // namespace drape

using namespace drape;

extern "C" int32_t gzprpf(const int32_t* frontIndex, int32_t* rowRecord, int32_t* rowNodes,
                          int32_t* rowCrossings, int32_t* backCrossings, int32_t* status) {
    return completeRow(*frontIndex, asFront(rowRecord), {rowNodes, rowCrossings, backCrossings}, *status) ? 0
                                                                                                          : 1;
}
