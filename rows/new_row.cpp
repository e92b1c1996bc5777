// New row: the pivot of the front is stepped forward by itself, and every other node of the row closes a cell
// against the row behind it and its neighbour in the new row, first to one side of the pivot and then to the
// other.
#include "rows/new_row.h"

#include "placement/row_filling.h"
#include "placement/straight_stepping.h"
#include "rows/pivot.h"
#include "services/work_arrays.h"

namespace drape {
namespace {

void listRow(const FrontRecord& front, std::int32_t* nodes) {
    std::int32_t n = front.firstNode;
    for (std::int32_t p = 0; p < front.length; ++p) {
        nodes[p] = n;
        n = model->link(next(front.direction), n);
    }
}

bool choosePivot(const FrontRecord& front, const std::int32_t* nodes, std::int32_t& pivotIndex,
                 std::int32_t& status) {
    const auto choose = model->pivotByGridLine == 0 ? pivotByLeastShear : pivotByGridLine;
    return choose(nodes, front.length, front.direction, front.pivotRequest, pivotIndex, status);
}

bool fillFromPivot(const FrontRecord& front, const std::int32_t* nodes, SearchScratch& scratch,
                   FrontRecord& row, std::int32_t& status) {
    std::int32_t pivotIndex = 0;
    if (!choosePivot(front, nodes, pivotIndex, status))
        return false;
    const std::int32_t pivot = front.length > 0 ? nodes[pivotIndex - 1] : front.firstNode;
    if (!stepStraight(pivot, front.direction, front.stepMode, scratch, status))
        return false;
    row.direction = front.direction;
    row.firstNode = *model->nodeCount;
    row.length = 1;
    const bool columns = alongColumns(front.direction);
    const std::int32_t firstSide = columns ? DRAPE_DIRECTION_2 : DRAPE_DIRECTION_1;
    const std::int32_t secondSide = columns ? DRAPE_DIRECTION_4 : DRAPE_DIRECTION_3;
    return fillRow(nodes, pivotIndex, front.length, front.direction, firstSide, scratch, row, status) &&
           fillRow(nodes, pivotIndex, front.length, front.direction, secondSide, scratch, row, status);
}

} // namespace

bool buildRow(std::int32_t frontIndex, SearchScratch& scratch, FrontRecord& row, std::int32_t& status) {
    status = DRAPE_OK;
    row = FrontRecord{};
    const FrontRecord front = model->front(frontIndex);
    WorkArray<std::int32_t> nodes;
    if (!nodes.take(front.length, status))
        return false;
    listRow(front, nodes.data());
    fillFromPivot(front, nodes.data(), scratch, row, status);
    nodes.release(status);
    return status == DRAPE_OK;
}

} // namespace drape

using namespace drape;

extern "C" int32_t gzprnf(const int32_t* frontIndex, int32_t* work, int32_t* rowRecord, int32_t* status) {
    SearchScratch scratch(work);
    return buildRow(*frontIndex, scratch, asFront(rowRecord), *status) ? 0 : 1;
}
