// The surface search: the triangles near a circle, and the point where the circle meets them.
#pragma once

#include "run/model.h"
#include "surface/triangle_bounds.h"

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
    // Zeroes the whole list of a caller's array, which row filling does before each flood.
    void clearCallersList();
};

struct SurfacePoint {
    Vec3 point{};
    Vec3 normal{};
    std::int32_t triangle = 0; // 0: nothing was found
};

// The circle on which a node has to lie, and what tells one of its points from another.
struct CircleSearch {
    Vec3 centre;
    Vec3 planeNormal; // with `forward` it spans the plane square to the circle's axis
    Vec3 forward;     // comes back at unit length once triangles were cut
    double radius;
    Vec3 backPoint; // the place behind the node
};

// Lists the triangles in range of all `ballCount` (1 or 2) balls, walking from `start` over triangles in
// range of any, and finds the point of the circle on them that lies furthest forward, leaving out what lies
// where the grid came from. `found.triangle` is 0 if there is none, and the list is complete then. False with
// a work-array code if a working table can't grow.
bool searchSurface(std::int32_t start, const Ball* balls, int ballCount, CircleSearch& search,
                   SearchScratch& scratch, SurfacePoint& found, std::int32_t& status);

// Only the list: all triangles in range, for those who don't take the point that was found.
bool listInRange(std::int32_t start, const Ball* balls, int ballCount, SearchScratch& scratch,
                 std::int32_t& status);

} // namespace drape
