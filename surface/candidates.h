// Candidates for a node's place: the points where its circle meets triangles, and the choice among them.
#pragma once

#include "surface/circle_triangle.h"
#include "surface/search_scratch.h"

namespace drape {

struct SurfacePoint {
    Vec3 point{};
    Vec3 normal{};
    std::int32_t triangle = 0; // 0: nothing was found
};

using Candidates = decltype(SearchScratch::candidates);

// Cuts the circle against a triangle of the mesh; a run takes the short cuts of the cut.
CircleCut cutTriangle(const Circle& circle, std::int32_t triangle, double tolerance);

// Adds the hits on one triangle. False with a work-array code, and then the candidates have to be reset.
bool addHits(const Circle& circle, std::int32_t triangle, double tolerance, Candidates& candidates,
             std::int32_t& status);

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
