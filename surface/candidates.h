// Candidates for a node's place: the points where its circle meets triangles, and the choice among them.
#pragma once

#include "run/model.h"
#include "surface/circle_pair.h"
#include "surface/search_scratch.h"

namespace drape {

struct SurfacePoint {
    Vec3 point{};
    Vec3 normal{};
    std::int32_t triangle = 0; // 0: nothing was found
};

using Candidates = decltype(SearchScratch::candidates);

inline Corners cornersOf(std::int32_t triangle) {
    const SurfaceMesh& mesh = model->mesh;
    return {mesh.corner(triangle, 0), mesh.corner(triangle, 1), mesh.corner(triangle, 2)};
}

// A circle cut against triangles of the mesh, two at once: take(triangle, cut) is called for each of them in
// order, until it returns false.
template <class Take>
class CutQueue {
public:
    CutQueue(const PairCutter& cutter, Take take) : cutter_(cutter), take_(take) {}

    // False where a call of `take` was the last.
    bool add(std::int32_t triangle) {
        if (waiting_ == 0) {
            waiting_ = triangle;
            return true;
        }
        const std::int32_t first = waiting_;
        waiting_ = 0;
        const PairCut cuts = cutter_.cut(cornersOf(first), cornersOf(triangle));
        return take_(first, cuts.of[0]) && take_(triangle, cuts.of[1]);
    }
    bool finish() {
        if (waiting_ == 0)
            return true;
        const Corners corners = cornersOf(waiting_);
        return take_(waiting_, cutter_.cut(corners, corners).of[0]);
    }

private:
    PairCutter cutter_;
    Take take_;
    std::int32_t waiting_ = 0;
};

// Adds a triangle's hits. False with a work-array code, and then the candidates have to be reset.
bool addHits(const CircleCut& cut, std::int32_t triangle, Candidates& candidates, std::int32_t& status);

// The hits on all listed triangles, in order. False with a work-array code, and no candidates.
bool gatherCandidates(const Circle& circle, const std::int32_t* foundList, std::int32_t foundCount,
                      double tolerance, Candidates& candidates, std::int32_t& status);

// A point with its triangle and that triangle's normal.
SurfacePoint onTriangle(const Vec3& point, std::int32_t triangle);

struct Choice {
    SurfacePoint found;
    bool clear; // no tie was decided by the order of the candidates
};

// The candidate furthest forward, those at the place nearest to `backPoint` left out if that is less than the
// radius away; the first of equals. Uses the candidates up.
Choice chooseCandidate(Candidates& candidates, const Circle& circle, const Vec3& forward,
                       const Vec3& backPoint, double tolerance);

} // namespace drape
