// Row status classification: a node ends open only if an open node reaches it without crossing the boundary,
// straight from behind or, for one step, along the row.
#include "rows/classification.h"

namespace drape {
namespace {

// A row as its links give it, so that no list of its nodes is needed. Positions count from 0.
struct LinkedRow {
    const FrontRecord& record;

    std::int32_t follower(std::int32_t n) const { return model->link(next(record.direction), n); }

    // Calls visit(position, node).
    template <class Visit>
    void forEach(const Visit& visit) const {
        std::int32_t n = record.firstNode;
        for (std::int32_t i = 0; i < record.length; ++i, n = follower(n))
            visit(i, n);
    }

    // Calls visit(position, node, its follower).
    template <class Visit>
    void forEachPair(const Visit& visit) const {
        std::int32_t n = record.firstNode;
        for (std::int32_t i = 0; i + 1 < record.length; ++i) {
            const std::int32_t before = n;
            n = follower(n);
            visit(i, before, n);
        }
    }

    // The same from the row's end. Links lead one way only, so the row is halved until a piece can be listed.
    template <class Visit>
    void forEachPairBackward(const Visit& visit) const {
        if (record.length > 1)
            backward(record.firstNode, 0, record.length - 1, visit);
    }

private:
    // Over `pairs` pairs, at least one, from node `n` at position `first` on.
    template <class Visit>
    void backward(std::int32_t n, std::int32_t first, std::int32_t pairs, const Visit& visit) const {
        constexpr std::int32_t piece = 64;
        if (pairs <= piece) {
            std::int32_t nodes[piece + 1];
            for (std::int32_t k = 0; k <= pairs; ++k, n = follower(n))
                nodes[k] = n;
            for (std::int32_t k = pairs - 1; k >= 0; --k)
                visit(first + k, nodes[k], nodes[k + 1]);
            return;
        }
        const std::int32_t half = pairs / 2;
        std::int32_t middle = n;
        for (std::int32_t k = 0; k < half; ++k)
            middle = follower(middle);
        backward(middle, first + half, pairs - half, visit);
        backward(n, first, half, visit);
    }
};

bool undecided(std::int32_t n) {
    return model->statusOf(n) == DRAPE_NODE_UNDECIDED;
}

void openFromBehind(const LinkedRow& row, const std::int32_t* backCrossings) {
    row.forEach([&](std::int32_t i, std::int32_t n) {
        const std::int32_t behind = model->statusOf(model->link(opposite(row.record.direction), n));
        if (backCrossings[i] == 0 && (behind == DRAPE_NODE_OPEN || behind == DRAPE_NODE_CUT))
            model->setStatus(n, DRAPE_NODE_OPEN);
    });
}

void takeFrom(std::int32_t neighbour, std::int32_t node, std::int32_t crossings) {
    if (undecided(node) && !undecided(neighbour) && crossings == 0)
        model->setStatus(node, model->statusOf(neighbour));
}

// Each sweep reads the neighbour that it hasn't passed yet, so an opening moves one place and no further.
void openAlongRow(const LinkedRow& row, const std::int32_t* rowCrossings) {
    row.forEachPair([&](std::int32_t i, std::int32_t n, std::int32_t follower) {
        takeFrom(follower, n, rowCrossings[i]);
    });
    row.forEachPairBackward([&](std::int32_t i, std::int32_t n, std::int32_t follower) {
        takeFrom(n, follower, rowCrossings[i]);
    });
}

void markGaps(const LinkedRow& row, const std::int32_t* backCrossings) {
    row.forEach([&](std::int32_t i, std::int32_t n) {
        const std::int32_t behind = model->link(opposite(row.record.direction), n);
        if (backCrossings[i] == 2 && model->statusOf(behind) == DRAPE_NODE_OPEN &&
            model->statusOf(n) != DRAPE_NODE_CLOSED)
            model->setStatus(n, DRAPE_NODE_ACROSS_GAP);
    });
}

} // namespace

void classifyRow(const FrontRecord& record, const std::int32_t* rowCrossings,
                 const std::int32_t* backCrossings) {
    const LinkedRow row{record};
    row.forEach([](std::int32_t, std::int32_t n) { model->setStatus(n, DRAPE_NODE_UNDECIDED); });
    openFromBehind(row, backCrossings);
    openAlongRow(row, rowCrossings);
    row.forEach([](std::int32_t, std::int32_t n) {
        if (undecided(n))
            model->setStatus(n, DRAPE_NODE_CLOSED);
    });
    markGaps(row, backCrossings);
    row.forEach([](std::int32_t, std::int32_t n) {
        if (model->triangleOf(n) == 0)
            model->setStatus(n, DRAPE_NODE_CLOSED);
    });
}

} // namespace drape

using namespace drape;

extern "C" int32_t gzprip(const int32_t* rowRecord, const void*, const int32_t* rowCrossings,
                          const int32_t* backCrossings, int32_t* status) {
    *status = DRAPE_OK;
    classifyRow(asFront(rowRecord), rowCrossings, backCrossings);
    return 0;
}
