// Defect repair: the front is cut at the place of the defect into pieces that can advance by themselves.
//
// A walk along the front collects nodes into the piece in hand. At a defect it makes twins or copies, rewires
// the links around the cut, inserts the piece and starts the next one. At a torn edge it also opens side
// fronts of one node, which wait a pass or two before they run out sideways.
#include "fronts/repair.h"

#include "fronts/trial_row.h"
#include "fronts/twins.h"

#include <algorithm>

namespace drape {
namespace {

FrontRecord pieceOf(std::int32_t direction, std::int32_t firstNode, std::int32_t length) {
    FrontRecord piece;
    piece.direction = direction;
    piece.firstNode = firstNode;
    piece.length = length;
    return piece;
}

// The side front to the end of the leading piece, which runs out towards the gap from its first node.
FrontRecord leadingSideFront(std::int32_t direction, std::int32_t node) {
    FrontRecord side = pieceOf(next(direction), node, 1);
    side.pivotRequest = PIVOT_FIRST_NODE;
    side.holdCount = 1;
    side.sideFlag = 1;
    return side;
}

// Its counterpart at the start of the trailing piece.
FrontRecord trailingSideFront(std::int32_t direction, std::int32_t node) {
    FrontRecord side = pieceOf(previous(direction), node, 1);
    side.pivotRequest = PIVOT_LAST_NODE;
    side.holdCount = 2;
    side.sideFlag = 1;
    return side;
}

// What the two walks share: the front, the piece in hand and the record that is looked for.
class CutWalk {
public:
    CutWalk(std::int32_t& frontIndex, std::int32_t defectCount, DefectRecord* defects, std::int32_t& status)
        : frontIndex_(frontIndex), defects_(defects), defectCount_(std::min(defectCount, DEFECT_TABLE_SIZE)),
          status_(status) {
        const FrontRecord& front = model->front(frontIndex);
        direction_ = front.direction;
        along_ = next(direction_);
        current_ = front.firstNode;
        total_ = front.length;
        piece_ = pieceOf(direction_, current_, 1);
        status_ = DRAPE_OK;
    }

protected:
    // Goes from node to node to the end of the front and lets `cutHere` act at each; `following_` is where
    // the walk goes next, which a cut may change. False with `lostNode` where the links lead out of the
    // store.
    template <class Cut>
    bool passNodes(std::int32_t lostNode, Cut cutHere) {
        do {
            ++steps_;
            if (!model->isNode(current_)) {
                status_ = lostNode;
                return false;
            }
            following_ = model->link(along_, current_);
            if (!cutHere())
                return false;
            ++piece_.length;
            current_ = following_;
        } while (steps_ < total_);
        return true;
    }

    bool insertPiece(const FrontRecord& piece) { return insertFront(piece, frontIndex_, status_); }

    bool atRecord() const { return record_ < defectCount_ && current_ == defects_[record_].node; }
    bool atRecordOf(DefectKind kind) const { return atRecord() && defects_[record_].kind == kind; }

    std::int32_t& frontIndex_;
    DefectRecord* defects_;
    std::int32_t defectCount_;
    std::int32_t& status_;
    std::int32_t direction_, along_;
    std::int32_t current_, following_ = 0;
    std::int32_t total_;
    std::int32_t steps_ = 0;
    std::int32_t record_ = 0; // 0-based
    FrontRecord piece_;       // its length runs one ahead of the nodes passed
};

// Kinds 1 and 2. The insertion point is raised after each insertion.
class SplitWalk : public CutWalk {
public:
    using CutWalk::CutWalk;

    bool run() {
        ++frontIndex_;
        if (total_ < 1) {
            piece_.length = 0;
            return insertPiece(piece_);
        }
        if (!passNodes(DRAPE_CUT_WALK_LOST_NODE, [this] { return cutHere(); }))
            return false;
        --piece_.length;
        return insertPiece(piece_);
    }

private:
    bool cutHere() {
        if (atRecordOf(CLOSED_BETWEEN_OPEN) && !splitAtNode())
            return false;
        return !atRecordOf(EDGE_ACROSS_GAP) || cutEdge();
    }

    // The leading piece ends at the closed node, the trailing one begins at its twin.
    bool splitAtNode() {
        piece_.pivotRequest = current_;
        if (!insertPiece(piece_))
            return false;
        ++frontIndex_;
        if (!splitNode(current_, direction_, status_))
            return false;
        const std::int32_t twin = *model->nodeCount;
        defects_[record_].twin = twin;
        model->setStatus(current_, DRAPE_NODE_CLOSED);
        model->setStatus(twin, DRAPE_NODE_CLOSED);
        current_ = twin;
        ++record_;
        piece_ = pieceOf(direction_, twin, 1);
        piece_.pivotRequest = twin;
        return true;
    }

    // Copies of both ends keep the edge between themselves, and the front's own nodes are cut apart.
    bool cutEdge() {
        const DefectRecord& record = defects_[record_];
        if (!copyNode(record.node, status_) || !copyNode(record.nextNode, status_))
            return false;
        const std::int32_t copy1 = *model->nodeCount - 1;
        const std::int32_t copy2 = *model->nodeCount;
        model->setStatus(current_, DRAPE_NODE_CUT);
        model->setStatus(following_, DRAPE_NODE_CUT);
        model->setLink(along_, current_, 0);
        model->setLink(opposite(along_), following_, 0);
        model->setLink(along_, copy1, copy2);
        model->setLink(opposite(along_), copy2, copy1);
        return replaceCutEdge();
    }

    bool replaceCutEdge() {
        piece_.pivotRequest = current_;
        piece_.stepMode = STEP_BY_PREDECESSOR;
        for (const FrontRecord& piece :
             {piece_, leadingSideFront(direction_, current_), trailingSideFront(direction_, following_)}) {
            if (!insertPiece(piece))
                return false;
            ++frontIndex_;
        }
        piece_ = pieceOf(direction_, following_, 1);
        piece_.pivotRequest = following_;
        piece_.stepMode = STEP_BY_FOLLOWER;
        ++steps_;
        ++record_;
        return true;
    }
};

// Kinds 3 and 4. The insertion point is raised before each insertion but the first of a cut, and once more
// before the last, whether or not anything was cut.
class GapWalk : public CutWalk {
public:
    using CutWalk::CutWalk;

    bool run() {
        if (total_ < 1) {
            piece_.length = 0;
            frontIndex_ += 2;
            return insertPiece(piece_);
        }
        ++frontIndex_;
        if (!passNodes(DRAPE_GAP_WALK_LOST_NODE, [this] { return cutHere(); }))
            return false;
        --piece_.length;
        ++frontIndex_;
        return insertPiece(piece_);
    }

private:
    bool cutHere() {
        if (atRecordOf(GAP_BEFORE_OPEN) && !closeLeadingPiece())
            return false;
        return !atRecordOf(OPEN_BEFORE_GAP) || openTrailingPiece();
    }

    // A closed copy of the far end becomes the last node of the leading piece.
    bool closeLeadingPiece() {
        following_ = defects_[record_].nextNode;
        if (!copyNode(following_, status_))
            return false;
        const std::int32_t copy = *model->nodeCount;
        model->setLink(along_, current_, copy);
        model->setLink(along_, copy, 0);
        model->setLink(opposite(along_), following_, 0);
        model->setStatus(copy, DRAPE_NODE_CLOSED);
        model->setStatus(following_, DRAPE_NODE_CUT);
        ++piece_.length;
        piece_.pivotRequest = current_;
        if (!insertPiece(piece_))
            return false;
        ++frontIndex_;
        if (!insertPiece(trailingSideFront(direction_, following_)))
            return false;
        piece_ = pieceOf(direction_, following_, 0);
        piece_.pivotRequest = following_;
        piece_.stepMode = STEP_BY_FOLLOWER;
        ++record_;
        return true;
    }

    // A closed copy of the near end becomes the first node of the trailing piece.
    bool openTrailingPiece() {
        following_ = defects_[record_].nextNode;
        if (!copyNode(current_, status_))
            return false;
        const std::int32_t copy = *model->nodeCount;
        model->setLink(opposite(along_), following_, copy);
        model->setLink(opposite(along_), copy, 0);
        model->setLink(along_, current_, 0);
        model->setStatus(copy, DRAPE_NODE_CLOSED);
        model->setStatus(current_, DRAPE_NODE_CUT);
        piece_.pivotRequest = current_;
        piece_.stepMode = STEP_BY_PREDECESSOR;
        if (!insertPiece(piece_))
            return false;
        ++frontIndex_;
        if (!insertPiece(leadingSideFront(direction_, current_)))
            return false;
        piece_ = pieceOf(direction_, copy, 1);
        piece_.pivotRequest = following_;
        ++record_;
        return true;
    }
};

} // namespace

bool repairFront(std::int32_t& frontIndex, std::int32_t& defectCount, DefectRecord* defects,
                 DefectRecord* saved, std::int32_t& status) {
    std::copy_n(defects, std::clamp(defectCount, 0, DEFECT_TABLE_SIZE), saved);
    dropRow(frontIndex);
    if (!tryRow(frontIndex, defectCount, defects[0], status))
        return false;
    if (defectCount == 0) {
        std::copy_n(saved, DEFECT_TABLE_SIZE, defects);
        defectCount = 1;
    }
    const std::int32_t position = frontIndex;
    const bool cut = defects[0].kind < GAP_BEFORE_OPEN
                         ? SplitWalk(frontIndex, defectCount, defects, status).run()
                         : GapWalk(frontIndex, defectCount, defects, status).run();
    if (!cut)
        return false;
    frontIndex = position;
    removeFront(position);
    return true;
}

} // namespace drape

using namespace drape;

extern "C" int32_t gzprge(int32_t* frontIndex, int32_t* defectCount, int32_t* defects, int32_t* status) {
    static DefectRecord saved[DEFECT_TABLE_SIZE]; // what one call leaves there, the next copies along
    return repairFront(*frontIndex, *defectCount, asDefects(defects), saved, *status) ? 0 : 1;
}

extern "C" int32_t uzprce(int32_t* frontIndex, int32_t* defectCount, int32_t* defects, int32_t* status) {
    return SplitWalk(*frontIndex, *defectCount, asDefects(defects), *status).run() ? 0 : 1;
}

extern "C" int32_t uzprcl(int32_t* frontIndex, int32_t* defectCount, int32_t* defects, int32_t* status) {
    return GapWalk(*frontIndex, *defectCount, asDefects(defects), *status).run() ? 0 : 1;
}
