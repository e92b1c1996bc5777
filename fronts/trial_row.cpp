// Trial row: does a defect also show in a row that is stepped straight out from each node of the front, each
// by itself? The row is made in place at the end of the store and dropped again, so the only thing left of it
// is the answer.
#include "fronts/trial_row.h"

#include "placement/straight_stepping.h"
#include "rows/classification.h"
#include "rows/crossing.h"
#include "services/work_arrays.h"
#include "surface/run_indices.h"

namespace drape {
namespace {

// Steps every node of the front and wires the new ones to each other.
bool stepEachNode(const FrontRecord& front, SearchScratch& scratch, FrontRecord& row, std::int32_t& status) {
    const std::int32_t d = front.direction;
    const std::int32_t along = next(d);
    std::int32_t node = front.firstNode;
    std::int32_t last = 0;
    // A front without nodes steps its first one all the same.
    for (std::int32_t k = 1; k == 1 || k <= front.length; ++k) {
        if (!stepStraight(node, d, STEP_BY_BOTH_NEIGHBOURS, scratch, status))
            return false;
        const std::int32_t n = *model->nodeCount;
        if (k == 1) {
            row.direction = d;
            row.firstNode = n;
            row.length = front.length;
        } else {
            model->setLink(opposite(along), n, last);
            model->setLink(along, last, n);
        }
        node = model->link(along, node);
        last = n;
    }
    return true;
}

bool stepAndClassify(const FrontRecord& front, SearchScratch& scratch, FrontRecord& row,
                     const RowArrays& lists, std::int32_t& status) {
    if (!stepEachNode(front, scratch, row, status) || !countCrossings(row, lists, status))
        return false;
    classifyRow(row, lists.rowCrossings, lists.backCrossings);
    return true;
}

bool buildTrialRow(std::int32_t frontIndex, FrontRecord& row, const RowArrays& lists, std::int32_t& status) {
    row = FrontRecord{};
    const FrontRecord front = model->front(frontIndex);
    return withScratch(
               [&](SearchScratch& scratch) { return stepAndClassify(front, scratch, row, lists, status); },
               status, status) &&
           status == DRAPE_OK;
}

} // namespace

bool tryRow(std::int32_t frontIndex, std::int32_t& found, DefectRecord& defect, std::int32_t& status) {
    status = DRAPE_OK;
    const std::int32_t length = model->front(frontIndex).length;
    WorkArray<std::int32_t> block;
    if (!block.take(RowArrays::sizeFor(length), status))
        return false;
    const RowArrays lists = RowArrays::in(block.data(), length);
    FrontRecord row;
    if (!buildTrialRow(frontIndex, row, lists, status) ||
        !findDefect(row, lists.rowCrossings, found, defect, status))
        return false;
    dropRow(frontIndex);
    block.release(status);
    return status == DRAPE_OK;
}

} // namespace drape

using namespace drape;

extern "C" int32_t gzprre(const int32_t* frontIndex, int32_t* defectFlag, int32_t* defectRecord,
                          int32_t* status) {
    return tryRow(*frontIndex, *defectFlag, *asDefects(defectRecord), *status) ? 0 : 1;
}

extern "C" int32_t gzprfm(const int32_t* frontIndex, int32_t* rowRecord, int32_t* rowNodes,
                          int32_t* rowCrossings, int32_t* backCrossings, int32_t* status) {
    return buildTrialRow(*frontIndex, asFront(rowRecord), {rowNodes, rowCrossings, backCrossings}, *status)
               ? 0
               : 1;
}
