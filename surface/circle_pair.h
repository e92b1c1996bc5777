// A circle cut against two triangles at once, which takes little longer than one.
//
// The operations of the plain cut run side by side as far as both triangles go the ordinary way; what lies
// clearly beside a triangle, or clearly within it, needs no look at corners and edges. A triangle that goes
// another way is cut by itself.
#pragma once

#include "surface/circle_triangle.h"
#include "surface/lanes.h"
#include "surface/margins.h"

namespace drape {

struct Corners {
    Vec3 a, b, c;
};

struct PairCut {
    CircleCut of[PAIR];
};

// Points less than `least` from the centre along `forward` aren't read.
struct ReadAhead {
    Vec3 forward{};
    double least = -margins::ENDLESS;
};

class PairCutter {
public:
    PairCutter(const Circle& circle, double tolerance, const ReadAhead& read = {});

    // What cutCircle gives in mode CLIP_AFTER_SLAB_TEST, for both, perhaps without points that aren't read.
    PairCut cut(const Corners& first, const Corners& second) const;

private:
    struct Triangles;
    struct OnLine;
    struct Clipped;

    OnLine cutLines(const Triangles& t) const;
    Clipped clip(const Triangles& t, const PairVec& normal, const PairVec& point) const;
    CircleCut clipLane(int lane, const Corners& corners, const OnLine& line, const Clipped& near,
                       const Clipped& far) const;

    Circle circle_;
    double tolerance_;
    PairVec centre_, axis_, forward_;
    DoublePair least_;
};

} // namespace drape
