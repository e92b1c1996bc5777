// Which triangles a flood walks on from and which it lists: by the exact distance, or by bounds that settle
// most of it and leave the rest to the exact distance.
#pragma once

#include "surface/lanes.h"
#include "surface/run_indices.h"

namespace drape {

struct Visit {
    bool goOn; // the walk goes on from this triangle, which is in range of any ball
    bool list; // it is in range of all
};

// The plain rule.
Visit visitPlainly(std::int32_t triangle, const Ball* balls, int ballCount);

// The same answer from a run's bounds.
Visit visitByBounds(std::int32_t triangle, const Ball* balls, int ballCount);

// Of that answer, only whether the walk goes on, asked of many triangles: one or two balls side by side.
class AnyBall {
public:
    AnyBall(const Ball* balls, int ballCount);

    bool reaches(std::int32_t triangle) const;

private:
    const Ball* balls_;
    int ballCount_;
    PairVec centre_;
    DoublePair corner2_, beyond2_; // the balls' limits, or what settles nothing
};

} // namespace drape
