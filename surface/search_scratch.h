// What a surface search writes while it works: the list and marks of its flood, and its two tables.
//
// An array of a caller outside a run holds 0, 1 (in range) or 2 (out of range) per triangle as marks and is
// cleared for each flood. A run's own marks are stamps, so that nothing ever needs clearing.
#pragma once

#include "run/model.h"
#include "services/growing_list.h"

namespace drape {

// Where a flood stands in the fans of one triangle.
struct FanWalk {
    std::int32_t triangle;
    std::int32_t corner;
    std::int32_t vertex;   // at that corner
    std::int32_t position; // next entry of vertTriList
    std::int32_t end;
};

// A point where the circle meets a triangle.
struct Candidate {
    Vec3 point;
    std::int32_t triangle;
};

struct SearchScratch {
    SearchScratch() = default;
    // In a caller's array of 2 x triCount int32, the list before the marks.
    explicit SearchScratch(std::int32_t* work) : foundList(work), marks(work + model->mesh.triCount) {}

    bool ownedByRun() const { return fansDone != nullptr; }

    // Makes all triangles unvisited and empties the list.
    void beginFlood();
    // Zeroes the whole list of a caller's array, which row filling does before each flood.
    void clearCallersList();

    std::int32_t* foundList = nullptr;
    std::int32_t foundCount = 0;
    std::int32_t* marks = nullptr;
    std::int32_t* fansDone = nullptr; // run only: per vertex, the stamp of the flood that has seen its fan
    std::int32_t stamp = 0;           // run only: of the present flood

    // Empty between searches; they outgrow their fixed places only on very fine meshes.
    GrowingList<FanWalk, 1024> fanStack;
    GrowingList<Candidate, 512> candidates;
};

} // namespace drape
