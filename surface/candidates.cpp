// Candidates: gathering the hits of a list and choosing among them.
#include "surface/candidates.h"

#include "surface/run_indices.h"

#include <algorithm>

namespace drape {

bool addHits(const CircleCut& cut, std::int32_t triangle, Candidates& candidates, std::int32_t& status) {
    for (std::int32_t hit = 0; hit < cut.count; ++hit)
        if (!candidates.push({cut.points[hit], triangle}, status))
            return false;
    return true;
}

namespace {

// The plain road.
bool gatherOneByOne(const Circle& circle, const std::int32_t* foundList, std::int32_t foundCount,
                    double tolerance, Candidates& candidates, std::int32_t& status) {
    for (std::int32_t k = 0; k < foundCount; ++k) {
        const Corners t = cornersOf(foundList[k]);
        const CircleCut cut = cutCircle(circle, t.a, t.b, t.c, tolerance, CLIP_AFTER_SLAB_TEST);
        if (!addHits(cut, foundList[k], candidates, status))
            return false;
    }
    return true;
}

} // namespace

bool gatherCandidates(const Circle& circle, const std::int32_t* foundList, std::int32_t foundCount,
                      double tolerance, Candidates& candidates, std::int32_t& status) {
    candidates.reset();
    bool done = true;
    if (onFastRoad()) {
        CutQueue queue(PairCutter(circle, tolerance), [&](std::int32_t triangle, const CircleCut& cut) {
            return addHits(cut, triangle, candidates, status);
        });
        for (std::int32_t k = 0; done && k < foundCount; ++k)
            done = queue.add(foundList[k]);
        done = done && queue.finish();
    } else {
        done = gatherOneByOne(circle, foundList, foundCount, tolerance, candidates, status);
    }
    if (!done)
        candidates.reset();
    return done;
}

SurfacePoint onTriangle(const Vec3& point, std::int32_t triangle) {
    const SurfaceMesh& mesh = model->mesh;
    const Vec3 a = mesh.corner(triangle, 0);
    return {point, unitNormal(mesh.corner(triangle, 1) - a, mesh.corner(triangle, 2) - a), triangle};
}

namespace {

// Takes out the candidates at the place nearest to the point behind, if that is less than a cell away. False
// if two places are equally near, so that the order of the candidates decided.
bool dropBackwardCandidates(Candidates& candidates, const Vec3& backPoint, double radius, double tolerance) {
    if (candidates.empty())
        return true;
    Vec3 nearPoint = candidates[0].point;
    double best = cadis(nearPoint, backPoint);
    bool clear = true;
    for (const Candidate& candidate : candidates) {
        const double distance2 = cadis(candidate.point, backPoint);
        if (distance2 < best) {
            best = distance2;
            nearPoint = candidate.point;
            clear = true;
        } else if (distance2 == best && cadis(candidate.point, nearPoint) > 0.0) {
            clear = false;
        }
    }
    if (!(radius * radius > best))
        return clear;
    const double tolerance2 = tolerance * tolerance;
    const auto* kept = std::remove_if(candidates.begin(), candidates.end(), [&](const Candidate& candidate) {
        return cadis(candidate.point, nearPoint) < tolerance2;
    });
    candidates.truncate(kept - candidates.begin());
    return clear;
}

struct Furthest {
    const Candidate* candidate;
    bool clear; // no other lies as far
};

Furthest furthestForward(Candidates& candidates, const Vec3& centre, const Vec3& forward) {
    Furthest furthest{candidates.begin(), true};
    double best = prosca(furthest.candidate->point - centre, forward);
    for (const Candidate& candidate : candidates) {
        const double along = prosca(candidate.point - centre, forward);
        if (along > best) {
            best = along;
            furthest = {&candidate, true};
        } else if (&candidate != furthest.candidate && !(along < best)) {
            furthest.clear = false;
        }
    }
    return furthest;
}

} // namespace

Choice chooseCandidate(Candidates& candidates, const Circle& circle, const Vec3& forward,
                       const Vec3& backPoint, double tolerance) {
    const bool dropClear = dropBackwardCandidates(candidates, backPoint, circle.radius, tolerance);
    if (candidates.empty()) {
        candidates.reset();
        return {{}, dropClear};
    }
    const Furthest furthest = furthestForward(candidates, circle.centre, forward);
    const Choice choice{onTriangle(furthest.candidate->point, furthest.candidate->triangle),
                        dropClear && furthest.clear};
    candidates.reset();
    return choice;
}

} // namespace drape
