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

// The answer of the search, if it can be told without the flood's whole list. False if it can't, or with a
// work-array code.
bool searchByTree(const SearchQuestion& question, SearchScratch& scratch, SurfacePoint& found,
                  std::int32_t& status);

} // namespace drape
