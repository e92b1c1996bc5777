// Corner repair: where a row turns a corner of the boundary, the end of its front and the two nodes behind it
// show one of six patterns. There a front of two nodes is opened sideways, out of the end of the row.
#include "fronts/corner.h"

#include "fronts/twins.h"

namespace drape {
namespace {

// An end of a front: its node, the two nodes behind it and the crossings beside it.
struct FrontEnd {
    std::int32_t node, behind, behindThat;
    std::int32_t backCrossings = 0;
    std::int32_t rowCrossings = -1; // -1: the row wasn't found, so nothing holds
};

// Position of a node in a row, 0-based in [first, last], -1 if it isn't there.
std::int32_t positionOf(const std::int32_t* nodes, std::int32_t first, std::int32_t last, std::int32_t node,
                        std::int32_t* cursor) {
    if (cursor == nullptr) {
        for (std::int32_t k = last; k >= first; --k)
            if (nodes[k] == node)
                return k;
        return -1;
    }
    for (std::int32_t k = *cursor; k <= last; ++k)
        if (k >= first && nodes[k] == node)
            return *cursor = k;
    for (std::int32_t k = first; k < *cursor && k <= last; ++k)
        if (nodes[k] == node)
            return *cursor = k;
    return -1;
}

// The kind of corner at an end, counted from the first end's kinds; 0 for none.
std::int32_t cornerKind(const FrontEnd& end) {
    if (end.behindThat == 0)
        return 0;
    const std::int32_t own = model->statusOf(end.node);
    const std::int32_t behind = model->statusOf(end.behind);
    const std::int32_t behindThat = model->statusOf(end.behindThat);
    if (own == DRAPE_NODE_OPEN && behind < 0 && behindThat < 0 && end.backCrossings >= 1)
        return FIRST_END_BEHIND_CLOSED_PAIR;
    if (own == DRAPE_NODE_OPEN && behind == DRAPE_NODE_CLOSED && behindThat == DRAPE_NODE_OPEN &&
        end.backCrossings >= 1)
        return FIRST_END_BEHIND_CLOSED;
    if (own == DRAPE_NODE_ACROSS_GAP && behind == DRAPE_NODE_OPEN && end.rowCrossings == 0)
        return FIRST_END_ACROSS_GAP;
    return 0;
}

FrontEnd firstEnd(const FrontRecord& front, const RowLists& row, std::int32_t rowLength,
                  std::int32_t& aheadOfBehind, std::int32_t* cursor) {
    const std::int32_t back = opposite(front.direction);
    FrontEnd end{};
    end.node = front.firstNode;
    end.behind = model->link(back, end.node);
    end.behindThat = model->link(back, end.behind);
    aheadOfBehind = model->link(front.direction, end.behind);
    end.rowCrossings = -1;
    const std::int32_t k = positionOf(row.nodes, 0, rowLength - 2, aheadOfBehind, cursor);
    if (k >= 0) {
        end.rowCrossings = row.rowCrossings[k];
        end.backCrossings = row.backCrossings[k];
    }
    if (rowLength == 1)
        end.rowCrossings = 0;
    return end;
}

FrontEnd lastEnd(const FrontRecord& front, std::int32_t last, const RowLists& row, std::int32_t rowLength,
                 std::int32_t* cursor) {
    const std::int32_t back = opposite(front.direction);
    FrontEnd end{};
    end.node = last;
    end.behind = model->link(back, last);
    end.behindThat = model->link(back, end.behind);
    end.rowCrossings = -1;
    const std::int32_t k = positionOf(row.nodes, 1, rowLength - 1, last, cursor);
    if (k >= 0) {
        end.rowCrossings = row.rowCrossings[k - 1];
        end.backCrossings = row.backCrossings[k];
    }
    if (rowLength == 1 || rowLength == 2)
        end.rowCrossings = 0;
    return end;
}

bool openFront(const CornerRecord& corner, std::int32_t firstNode, std::int32_t pivotRequest,
               std::int32_t& status) {
    FrontRecord front;
    front.direction = corner.newDirection;
    front.firstNode = firstNode;
    front.length = 2;
    front.pivotRequest = pivotRequest;
    return insertFront(front, corner.frontIndex + 1, status);
}

bool openOnTwin(const CornerRecord& corner, std::int32_t& status) {
    if (!splitNode(corner.backNode, corner.newDirection, status))
        return false;
    const std::int32_t twin = *model->nodeCount;
    model->setStatus(twin, DRAPE_NODE_CLOSED);
    return openFront(corner, twin, PIVOT_LAST_NODE, status);
}

bool openAcrossGapAtFirstEnd(const CornerRecord& corner, std::int32_t& status) {
    if (!areNeighbours(corner.backNode, corner.firstNode))
        return true;
    if (!doubleEdge(corner.backNode, corner.firstNode, status))
        return false;
    const std::int32_t backTwin = *model->nodeCount - 1;
    const std::int32_t endTwin = *model->nodeCount;
    model->setStatus(endTwin, DRAPE_NODE_CLOSED);
    model->setStatus(backTwin, DRAPE_NODE_OPEN);
    model->setStatus(corner.firstNode, DRAPE_NODE_OPEN);
    model->setStatus(corner.backNode, DRAPE_NODE_CLOSED);
    const std::int32_t e = corner.newDirection;
    model->setLink(e, backTwin, model->link(e, corner.backNode));
    model->setLink(e, endTwin, model->link(e, corner.firstNode));
    model->setLink(e, corner.firstNode, 0);
    model->setLink(e, corner.backNode, 0);
    return openFront(corner, corner.backNode, PIVOT_LAST_NODE, status);
}

bool openOnUnhookedEnd(const CornerRecord& corner, std::int32_t& status) {
    const bool live = corner.frontIndex >= 1 && corner.frontIndex <= *model->frontCount;
    const std::int32_t d = live ? model->front(corner.frontIndex).direction : 0;
    if (!copyNode(corner.backNode, status))
        return false;
    if (isDirection(d)) {
        const std::int32_t copy = *model->nodeCount;
        model->setLink(opposite(d), corner.lastNode, copy);
        model->setLink(d, corner.backNode, 0);
        model->setLink(opposite(d), copy, 0);
    }
    return openFront(corner, corner.lastNode, PIVOT_AUTOMATIC, status);
}

bool openAcrossGapAtLastEnd(const CornerRecord& corner, std::int32_t& status) {
    if (!doubleEdge(corner.lastNode, corner.backNode, status))
        return false;
    const std::int32_t endTwin = *model->nodeCount - 1;
    const std::int32_t backTwin = *model->nodeCount;
    model->setStatus(endTwin, DRAPE_NODE_OPEN);
    model->setStatus(backTwin, DRAPE_NODE_CLOSED);
    const std::int32_t e = corner.newDirection;
    // A front of one node has none before its last; then only that node's link is left out.
    model->setLink(e, corner.priorNode, endTwin);
    model->setLink(e, model->link(opposite(e), corner.backNode), backTwin);
    return openFront(corner, endTwin, PIVOT_FIRST_NODE, status);
}

bool openCorner(const CornerRecord& corner, std::int32_t& status) {
    switch (corner.kind) {
    case FIRST_END_BEHIND_CLOSED_PAIR:
        return openFront(corner, corner.backNode, PIVOT_LAST_NODE, status);
    case FIRST_END_BEHIND_CLOSED:
        return openOnTwin(corner, status);
    case FIRST_END_ACROSS_GAP:
        return openAcrossGapAtFirstEnd(corner, status);
    case LAST_END_BEHIND_CLOSED_PAIR:
        return openFront(corner, corner.lastNode, PIVOT_FIRST_NODE, status);
    case LAST_END_BEHIND_CLOSED:
        return openOnUnhookedEnd(corner, status);
    case LAST_END_ACROSS_GAP:
        return openAcrossGapAtLastEnd(corner, status);
    default:
        return true;
    }
}

} // namespace

void findCorners(const RowLists& row, std::int32_t rowLength, std::int32_t frontIndex, std::int32_t* cursor,
                 CornerRecord* corners, std::int32_t& cornerCount) {
    cornerCount = 0;
    const FrontRecord& front = model->front(frontIndex);
    const std::int32_t d = front.direction;
    std::int32_t aheadOfBehind = 0;
    const std::int32_t firstKind = cornerKind(firstEnd(front, row, rowLength, aheadOfBehind, cursor));
    if (firstKind != 0)
        corners[cornerCount++] = {
            previous(d), model->link(opposite(d), front.firstNode), 0, firstKind, front.firstNode, 0,
            frontIndex};

    std::int32_t prior = 0;
    std::int32_t last = front.firstNode;
    for (std::int32_t k = 1; k < front.length; ++k) {
        prior = last;
        last = model->link(next(d), last);
    }
    if (prior == front.firstNode)
        prior = aheadOfBehind;
    const FrontEnd end = lastEnd(front, last, row, rowLength, cursor);
    const std::int32_t lastKind = cornerKind(end);
    if (lastKind != 0)
        corners[cornerCount++] = {
            next(d),         end.behind,
            prior,           lastKind + (LAST_END_BEHIND_CLOSED_PAIR - FIRST_END_BEHIND_CLOSED_PAIR),
            front.firstNode, last,
            frontIndex};
}

bool openCorners(const CornerRecord* corners, std::int32_t cornerCount, std::int32_t& status) {
    status = DRAPE_OK;
    for (std::int32_t k = 0; k < cornerCount; ++k)
        if (!openCorner(corners[k], status))
            return false;
    return true;
}

} // namespace drape

using namespace drape;

extern "C" int32_t gzprld(const int32_t* rowNodes, const int32_t* rowCrossings, const int32_t* backCrossings,
                          const int32_t* rowLength, const int32_t* frontIndex, int32_t* corners,
                          int32_t* cornerCount, int32_t* status) {
    *status = DRAPE_OK;
    findCorners({rowNodes, rowCrossings, backCrossings}, *rowLength, *frontIndex, nullptr,
                reinterpret_cast<CornerRecord*>(corners), *cornerCount);
    return 0;
}

extern "C" int32_t gzprlc(const int32_t* corners, const int32_t* cornerCount, int32_t* status) {
    return openCorners(reinterpret_cast<const CornerRecord*>(corners), *cornerCount, *status) ? 0 : 1;
}
