// The surface search by the tree of triangles, which leads straight to what the circle meets.
#pragma once

#include "surface/candidates.h"
#include "surface/triangle_bounds.h"

namespace drape {

// A surface search, with what it starts from.
struct SearchQuestion {
    std::int32_t start; // triangle
    const Ball* balls;
    int ballCount;
    const Circle& circle;
    const Vec3& forward;
    const Vec3& backPoint;

    double tolerance() const { return balls[0].tolerance; }
};

enum class TreeAnswer {
    found,
    nothing, // the circle meets nothing that a flood, wherever it starts, could list and the choice keep
    dropped, // what it meets lies where the grid came from
    open,    // the flood's whole list has to tell, if `status` isn't a work-array code
};

TreeAnswer searchByTree(const SearchQuestion& question, SearchScratch& scratch, SurfacePoint& found,
                        std::int32_t& status);

} // namespace drape
