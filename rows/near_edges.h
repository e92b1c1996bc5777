// The boundary edges near a stretch of a row, gathered once for all of its segments.
//
// Their boxes stand in pairs, so that a segment is told apart from those elsewhere two at a time.
#pragma once

#include "surface/box.h"
#include "surface/lanes.h"

#include <cstdint>

namespace drape {

class NearEdges {
public:
    // What can overlap `box`; false if that is more than there is room for. Within a run only.
    bool gather(const Box& box);

    bool empty() const { return count_ == 0; }

    // Calls visit(edge) in ascending order for all gathered edges that can overlap `box`, which lies within
    // the one gathered for, and perhaps for others, until it returns false.
    template <class Visit>
    void forEachNear(const Box& box, Visit visit) const {
        for (int first = 0; first < count_; first += PAIR)
            for (unsigned met = overlapping(boxes_[first / PAIR], box); met != 0; met &= met - 1)
                if (!visit(edges_[first + firstOf(met)]))
                    return;
    }

private:
    static constexpr int LARGEST = 128;

    struct BoxPair {
        DoublePair low[3], high[3];
    };
    // An edge that only touches the box doesn't overlap it.
    static unsigned overlapping(const BoxPair& pair, const Box& box) {
        return maskOfPair(
            (pair.low[0] < box.high.x + DoublePair{}) & (pair.high[0] > box.low.x + DoublePair{}) &
            (pair.low[1] < box.high.y + DoublePair{}) & (pair.high[1] > box.low.y + DoublePair{}) &
            (pair.low[2] < box.high.z + DoublePair{}) & (pair.high[2] > box.low.z + DoublePair{}));
    }
    void add(std::int32_t edge, const Box& box);

    std::int32_t edges_[LARGEST];
    BoxPair boxes_[LARGEST / PAIR];
    int count_ = 0;
};

} // namespace drape
