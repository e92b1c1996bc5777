// The surface search: the triangles near a circle, and the point where the circle meets them.
#pragma once

#include "run/model.h"

namespace drape {

// Marks and list of a flood. An array of a caller outside a run holds 0, 1 (in range) or 2 (out of range) per
// triangle and is cleared for each flood. A run's own marks are stamps, so that nothing ever needs clearing.
struct SearchScratch {
    std::int32_t* foundList = nullptr;
    std::int32_t foundCount = 0;
    std::int32_t* marks = nullptr;
    std::int32_t* fansDone = nullptr; // run only: per vertex, the stamp of the flood that has seen its fan
    std::int32_t stamp = 0;           // run only: of the present flood

    // A caller's array of 2 x triCount int32, the list before the marks.
    static SearchScratch inCallersWork(std::int32_t* work) {
        SearchScratch scratch;
        scratch.foundList = work;
        scratch.marks = work + model.mesh.triCount;
        return scratch;
    }
    bool ownedByRun() const { return fansDone != nullptr; }

    // Makes all triangles unvisited and empties the list.
    void beginFlood();
    // The same, and zeroes the whole list of a caller's array.
    void beginFloodAndClearList();
};

// Lists the triangles in range of all `ballCount` (1 or 2) balls, walking from `start` over triangles in
// range of any. False with a work-array code if the walk's stack can't grow.
struct Ball;
bool floodFrom(std::int32_t start, const Ball* balls, int ballCount, SearchScratch& scratch,
               std::int32_t& status);

struct SurfacePoint {
    Vec3 point{};
    Vec3 normal{};
    std::int32_t triangle = 0; // 0: nothing was found
};

// The cut of the circle through `centre`, square to planeNormal x forward, with the listed triangles that
// lies furthest along `forward`, leaving out what lies where the grid came from. `forward` comes back at unit
// length. `found` keeps its point and normal if nothing is found.
bool furthestOnSurface(const Vec3& centre, const Vec3& planeNormal, Vec3& forward, double radius,
                       const Vec3& backPoint, const std::int32_t* foundList, std::int32_t foundCount,
                       double tolerance, SurfacePoint& found, std::int32_t& status);

} // namespace drape
