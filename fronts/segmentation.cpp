// Front segmentation: closed nodes stop the advance, so a finished row goes on as one front for each stretch
// that has open nodes, with the closed node at each of its ends where there is one.
#include "fronts/segmentation.h"

namespace drape {
namespace {

FrontRecord stretchFrom(const FrontRecord& row, std::int32_t firstNode, std::int32_t length) {
    FrontRecord piece;
    piece.direction = row.direction;
    piece.firstNode = firstNode;
    piece.length = length;
    return piece;
}

} // namespace

bool segmentRow(const FrontRecord& row, std::int32_t& frontIndex, const std::int32_t* rowCrossings,
                std::int32_t& status) {
    status = DRAPE_OK;
    removeFront(frontIndex);
    --frontIndex;
    FrontRecord piece = stretchFrom(row, row.firstNode, 1);
    std::int32_t n = row.firstNode;
    for (std::int32_t i = 1; i <= row.length; ++i) {
        const std::int32_t follower = model->link(next(row.direction), n);
        const std::int32_t own = model->statusOf(n);
        const std::int32_t before = model->statusOf(model->link(previous(row.direction), n));
        const std::int32_t after = model->statusOf(follower);
        const bool closesAtEnd = i == row.length && own == DRAPE_NODE_OPEN;
        if (closesAtEnd || (i > 1 && own < 0 && before == DRAPE_NODE_OPEN)) {
            if (!insertFront(piece, ++frontIndex, status))
                return false;
            piece.length = 0;
        }
        if (own < 0 && after == DRAPE_NODE_OPEN)
            piece = stretchFrom(row, n, 1);
        const bool bothClosed = own == DRAPE_NODE_CLOSED && after == DRAPE_NODE_CLOSED;
        if (i > 1 && i < row.length - 1 && bothClosed && rowCrossings[i - 1] > 1) {
            piece = stretchFrom(row, n, 2);
            if (!insertFront(piece, ++frontIndex, status))
                return false;
        }
        n = follower;
        ++piece.length;
    }
    return true;
}

} // namespace drape

using namespace drape;

extern "C" int32_t gzprgf(const int32_t* rowRecord, int32_t* frontIndex, const int32_t* rowCrossings,
                          int32_t* status) {
    return segmentRow(asFront(rowRecord), *frontIndex, rowCrossings, *status) ? 0 : 1;
}
