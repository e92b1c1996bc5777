// The flood over neighbouring triangles: from a start, over all that are in range of any ball, listing those
// that are in range of all.
#pragma once

#include "surface/search_scratch.h"
#include "surface/triangle_bounds.h"

namespace drape {

// Triangles at which a flood may stop.
struct Goals {
    const std::int32_t* triangles = nullptr;
    int count = 0;
    bool any = false; // stop at whatever is listed first

    bool has(std::int32_t triangle) const {
        if (any)
            return true;
        for (int k = 0; k < count; ++k)
            if (triangles[k] == triangle)
                return true;
        return false;
    }
};

// Lists in `scratch`. False with a work-array code if the stack can't grow.
bool listInRange(std::int32_t start, const Ball* balls, int ballCount, SearchScratch& scratch,
                 std::int32_t& status);

// The same where only triangles with a boundary edge are read from the list, and whether it is empty: a run
// leaves others out.
bool listBoundaryInRange(std::int32_t start, const Ball* balls, int ballCount, SearchScratch& scratch,
                         std::int32_t& status);

// Lists those of `goals` that are in range, in order, and perhaps others where there is no run; goes no
// further than the last of them.
bool listGoals(const Goals& goals, std::int32_t start, const Ball* balls, int ballCount,
               SearchScratch& scratch, std::int32_t& status);

// Goes up to the first of `goals` that would be listed, which is `reached`; 0 if none is. A run's list then
// holds goals only.
bool floodTo(const Goals& goals, std::int32_t start, const Ball* balls, int ballCount, SearchScratch& scratch,
             std::int32_t& reached, std::int32_t& status);

} // namespace drape
