// Front loop: one front at a time is extended, its next row is built, and the front is replaced by new fronts
// on that row. A row with a defect isn't cut into fronts; its front is repaired, and the loop comes back to
// the same place. The loop ends when no front is left.
//
// It does end: a pass without a defect stores a row, a repair stores at least one twin or copy, and a pass
// that stores nothing leaves the run as it was, which is caught. So there are no more passes than room for
// nodes.
#include "run/front_loop.h"

#include "fronts/corner.h"
#include "fronts/extension.h"
#include "fronts/repair.h"
#include "fronts/segmentation.h"
#include "rows/completion.h"
#include "services/work_arrays.h"

namespace drape {
namespace {

// More corners than a front has ends never arise.
constexpr std::int32_t CORNER_TABLE_SIZE = 10;

class FrontLoop {
public:
    LoopEnd run(std::int32_t& status) {
        for (;;) {
            if (pass_.held()) {
                status = DRAPE_PASS_ARRAY_HELD;
                return LoopEnd::passArrayHeld;
            }
            if (!runPass(status)) {
                pass_.release(status);
                return LoopEnd::stopped;
            }
            skipHeldFronts();
            if (*model->frontCount == 0)
                return LoopEnd::tableEmpty;
            if (index_ > *model->frontCount)
                index_ = 1;
        }
    }

private:
    // One pass at `index_`, which ends on the next place to look at.
    bool runPass(std::int32_t& status) {
        FrontRecord& front = model->front(index_);
        if (!extendFront(front, status))
            return false;
        const std::int32_t length = front.length;
        if (!pass_.take(RowArrays::sizeFor(length), status))
            return false;
        const RowArrays lists = RowArrays::in(pass_.data(), length);
        if (!advanceFront(lists, length, status))
            return false;
        pass_.release(status);
        return status == DRAPE_OK;
    }

    bool advanceFront(const RowArrays& lists, std::int32_t length, std::int32_t& status) {
        const std::int32_t nodesBefore = *model->nodeCount;
        FrontRecord row;
        if (!completeRow(index_, row, lists, status))
            return false;
        std::int32_t defectCount = 0;
        if (!findDefect(row, lists.rowCrossings, defectCount, defects_[0], status))
            return false;
        if (defectCount != 0)
            return repair(defectCount, nodesBefore, status);
        idleRepairs_ = 0;
        return openNewFronts(row, lists, length, status);
    }

    bool repair(std::int32_t defectCount, std::int32_t nodesBefore, std::int32_t& status) {
        const FrontRecord before = model->front(index_);
        const std::int32_t frontsBefore = *model->frontCount;
        if (!repairFront(index_, defectCount, defects_, savedDefects_, status))
            return false;
        if (*model->nodeCount != nodesBefore || *model->frontCount != frontsBefore) {
            idleRepairs_ = 0;
            return true;
        }
        // Nothing was cut. The same front would show the same defect for ever, and so would fronts that only
        // change places.
        ++idleRepairs_;
        if (model->front(index_) == before || idleRepairs_ / 2 > *model->frontCount) {
            status = DRAPE_REPAIR_CUTS_NOTHING;
            return false;
        }
        return true;
    }

    // Cuts the row into fronts, looks at the corners of each, and steps over all of them.
    bool openNewFronts(const FrontRecord& row, const RowArrays& lists, std::int32_t length,
                       std::int32_t& status) {
        const std::int32_t first = index_;
        std::int32_t last = index_;
        if (!segmentRow(row, last, lists.rowCrossings, status))
            return false;
        std::int32_t cursor = 0;
        for (std::int32_t k = first; k <= last; ++k) {
            CornerRecord corners[CORNER_TABLE_SIZE];
            std::int32_t cornerCount = 0;
            findCorners(lists.asInput(), length, index_, &cursor, corners, cornerCount);
            const std::int32_t frontsBefore = *model->frontCount;
            if (!openCorners(corners, cornerCount, status))
                return false;
            index_ += *model->frontCount - frontsBefore + 1;
        }
        return true;
    }

    // A held front is passed over each time that the loop comes to it after a pass.
    void skipHeldFronts() {
        while (index_ <= *model->frontCount && model->front(index_).holdCount != 0) {
            --model->front(index_).holdCount;
            ++index_;
        }
    }

    std::int32_t index_ = 1;
    std::int32_t idleRepairs_ = 0; // in a row, without a node stored or a front more
    DefectRecord defects_[DEFECT_TABLE_SIZE], savedDefects_[DEFECT_TABLE_SIZE];
    WorkArray<std::int32_t> pass_;
};

} // namespace

LoopEnd runFrontLoop(std::int32_t& status) {
    return FrontLoop().run(status);
}

} // namespace drape
