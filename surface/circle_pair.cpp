#include "surface/circle_pair.h"

#include "drape.h"

namespace drape {
namespace {

Vec3 laneOf(const PairVec& v, int lane) {
    return {v.x[lane], v.y[lane], v.z[lane]};
}

constexpr unsigned BOTH = (1u << PAIR) - 1;

bool has(unsigned mask, int lane) {
    return (mask >> lane & 1u) != 0;
}

} // namespace

struct PairCutter::Triangles {
    Triangles(const Corners& first, const Corners& second)
        : a(pairOf(first.a, second.a)), b(pairOf(first.b, second.b)), c(pairOf(first.c, second.c)) {}

    PairVec a, b, c;
};

// The circle's points on the lines where its plane meets the triangles'. Masks have a bit for each triangle.
struct PairCutter::OnLine {
    PairVec normal;                 // of the triangles
    PairVec near, far;              // the points; a single one is the near one
    unsigned nearIsRead, farIsRead; // where there are such points
    unsigned ordinary;              // the triangle has a plane, clearly not parallel to the circle's

    // Of each lane the far point where it is read, else the near one.
    PairVec read() const {
        const auto pick = [this](const DoublePair& n, const DoublePair& f) {
            return pairOf(has(farIsRead, 0) ? f[0] : n[0], has(farIsRead, 1) ? f[1] : n[1]);
        };
        return {pick(near.x, far.x), pick(near.y, far.y), pick(near.z, far.z)};
    }
};

// What becomes of a point without a look at corners and edges.
struct PairCutter::Clipped {
    PairVec point;
    unsigned out, in; // surely
};

// What one point meets is no matter of the other: a cut ends early only where the planes of an edge count as
// parallel, which none do below a tolerance of one half.
PairCutter::PairCutter(const Circle& circle, double tolerance, const ReadAhead& read)
    : circle_(circle), tolerance_(tolerance), centre_(twice(circle.centre)), axis_(twice(circle.axis)),
      forward_(twice(read.forward)), least_(twice(tolerance < 0.5 ? read.least : -margins::ENDLESS)) {}

PairCutter::OnLine PairCutter::cutLines(const Triangles& t) const {
    OnLine line;
    const DoublePair tolerance = twice(tolerance_), tolerance2 = twice(tolerance_ * tolerance_);
    const DoublePair radius = twice(circle_.radius);
    const PairVec ab = t.b - t.a, ac = t.c - t.a;
    const PairVec cross = parvis(ab, ac);
    line.normal = cross / rootOf(vor(cross));
    const PairVec along = parvis(axis_, line.normal);
    const PairVec direction = along / rootOf(vor(along));
    const auto common = solvePlanes<DoublePair>({centre_, axis_}, {t.a, line.normal}, {centre_, direction});
    line.ordinary =
        maskOfPair(clearlyEncloseArea(vor(ab), vor(ac), vor(cross)) & (vor(along) > tolerance2)) &
        (maskOfPair(common.determinant > tolerance2) | maskOfPair(-common.determinant > tolerance2));
    const PairVec& foot = common.point;
    const DoublePair foot2 = cadis(centre_, foot);
    const DoublePair beyond = rootOf(foot2) - radius;
    const auto touching = (tolerance > beyond) & (tolerance > -beyond);
    const unsigned one = maskOfPair(touching);
    const unsigned two = maskOfPair(beyond < DoublePair{}) & ~one;
    const PairVec half = rootOf(radius * radius - foot2) * direction;
    const PairVec before = foot - half;
    line.near = {choose(touching, foot.x, before.x), choose(touching, foot.y, before.y),
                 choose(touching, foot.z, before.z)};
    line.far = foot + half;
    line.nearIsRead = (one | two) & ~maskOfPair(prosca(line.near - centre_, forward_) < least_);
    line.farIsRead = two & ~maskOfPair(prosca(line.far - centre_, forward_) < least_);
    return line;
}

PairCutter::Clipped PairCutter::clip(const Triangles& t, const PairVec& normal, const PairVec& point) const {
    const PairVec a = t.a - point, b = t.b - point, c = t.c - point;
    const DoublePair ab = promix(a, b, normal), bc = promix(b, c, normal), ca = promix(c, a, normal);
    const DoublePair least = smallerOf(ab, smallerOf(bc, ca)), most = largerOf(ab, largerOf(bc, ca));
    const margins::SideLimit<DoublePair> limit(t.a, t.b - t.a, t.a - t.c, tolerance_);
    const DoublePair clear = limit.at(point - t.a);
    const unsigned inside = maskOfPair(most < DoublePair{}) | maskOfPair(least >= DoublePair{});
    const unsigned settled =
        (maskOfPair(least < -clear) | maskOfPair(least > clear)) & maskOfPair(limit.holdsFor(point - t.a));
    return {point, settled & ~inside, settled & inside};
}

CircleCut PairCutter::clipLane(int lane, const Corners& corners, const OnLine& line, const Clipped& near,
                               const Clipped& far) const {
    WorkingPoints left;
    bool allIn = true;
    const auto keep = [&](const Clipped& clipped) {
        if (has(clipped.out, lane))
            return;
        left.points[left.count++] = laneOf(clipped.point, lane);
        allIn = allIn && has(clipped.in, lane);
    };
    if (has(line.nearIsRead, lane))
        keep(near);
    if (has(line.farIsRead, lane))
        keep(far);
    if (left.count == 0)
        return {};
    if (!allIn) {
        // A single point at a corner, as on a regular mesh, needs no look at the edges.
        const std::int32_t corner = left.count == 1 ? cornerAt(left.points[0], corners.a, corners.b,
                                                               corners.c, tolerance_ * tolerance_)
                                                    : 0;
        return corner != 0 ? CircleCut{1, {left.points[0]}, {corner}}
                           : clipToTriangle(corners.a, corners.b, corners.c, laneOf(line.normal, lane), left,
                                            tolerance_);
    }
    constexpr std::int32_t in = DRAPE_IN_INTERIOR;
    return {left.count, {left.points[0], left.points[1]}, {in, left.count == 2 ? in : 0}};
}

PairCut PairCutter::cut(const Corners& first, const Corners& second) const {
    PairCut cuts;
    const Triangles t(first, second);
    const unsigned met = BOTH & ~maskOfPair(besideSlab(centre_, axis_, t.a, t.b, t.c, tolerance_));
    if (met == 0)
        return cuts;
    const OnLine line = cutLines(t);
    const Corners* const corners[PAIR] = {&first, &second};
    const unsigned open = met & line.ordinary & (line.nearIsRead | line.farIsRead);
    if (open != 0) {
        // One look serves both where no triangle has two points that are read.
        const bool single = (open & line.nearIsRead & line.farIsRead) == 0;
        const Clipped near = clip(t, line.normal, single ? line.read() : line.near);
        const Clipped far = single ? near : clip(t, line.normal, line.far);
        for (int lane = 0; lane < PAIR; ++lane)
            if (has(open, lane))
                cuts.of[lane] = clipLane(lane, *corners[lane], line, near, far);
    }
    for (int lane = 0; lane < PAIR; ++lane)
        if (has(met & ~line.ordinary, lane))
            cuts.of[lane] = cutCircle(circle_, corners[lane]->a, corners[lane]->b, corners[lane]->c,
                                      tolerance_, CLIP_AFTER_SLAB_TEST);
    return cuts;
}

} // namespace drape
