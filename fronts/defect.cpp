// Defect detection: a row is looked through for the first place that calls for a repair before it is cut into
// fronts. What it reports are nodes of the front behind the row, since the row itself will be thrown away.
#include "fronts/defect.h"

namespace drape {
namespace {

// A pair of neighbours in the row and the nodes of the front behind them.
struct RowPair {
    std::int32_t status, followerStatus;
    std::int32_t behind, followerBehind;
    std::int32_t crossings;
};

// The kind of defect that a pair shows, 0 for none; a closed node between open ones isn't a matter of pairs.
std::int32_t kindOf(const RowPair& pair) {
    if (pair.status == DRAPE_NODE_ACROSS_GAP && pair.followerStatus == DRAPE_NODE_OPEN)
        return GAP_BEFORE_OPEN;
    if (pair.status != DRAPE_NODE_OPEN)
        return 0;
    if (pair.followerStatus == DRAPE_NODE_ACROSS_GAP && pair.crossings == 0)
        return OPEN_BEFORE_GAP;
    const bool fromGap = model->statusOf(pair.behind) == DRAPE_NODE_ACROSS_GAP ||
                         model->statusOf(pair.followerBehind) == DRAPE_NODE_ACROSS_GAP;
    if (pair.followerStatus == DRAPE_NODE_OPEN && pair.crossings > 1 && !fromGap)
        return EDGE_ACROSS_GAP;
    return 0;
}

} // namespace

bool findDefect(const FrontRecord& row, const std::int32_t* rowCrossings, std::int32_t& found,
                DefectRecord& defect, std::int32_t& status) {
    found = 0;
    status = DRAPE_OK;
    if (row.length < 2)
        return true;
    const std::int32_t d = row.direction;
    if (!isDirection(d)) {
        status = DRAPE_BAD_ROW_DIRECTION;
        return false;
    }
    std::int32_t n = row.firstNode;
    std::int32_t statusBefore = NO_STATUS;
    for (std::int32_t i = 1; i < row.length; ++i) {
        const std::int32_t x = model->link(next(d), n);
        const RowPair pair{model->statusOf(n), model->statusOf(x), model->link(opposite(d), n),
                           model->link(opposite(d), x), rowCrossings[i - 1]};
        if (statusBefore == DRAPE_NODE_OPEN && pair.status == DRAPE_NODE_CLOSED &&
            pair.followerStatus == DRAPE_NODE_OPEN) {
            found = 1;
            defect.kind = CLOSED_BETWEEN_OPEN;
            defect.node = pair.behind;
            return true;
        }
        const std::int32_t kind = kindOf(pair);
        if (kind != 0) {
            found = 1;
            defect.kind = kind;
            defect.node = pair.behind;
            defect.nextNode = pair.followerBehind;
            return true;
        }
        statusBefore = pair.status;
        n = x;
    }
    return true;
}

} // namespace drape

using namespace drape;

extern "C" int32_t gzprde(const int32_t* rowRecord, const int32_t* rowCrossings, int32_t* defectFlag,
                          int32_t* defectRecord, int32_t* status) {
    return findDefect(asFront(rowRecord), rowCrossings, *defectFlag, *asDefects(defectRecord), *status) ? 0
                                                                                                        : 1;
}
