// The surface search: the triangles near a circle, and the point where the circle meets them.
#pragma once

#include "surface/candidates.h"
#include "surface/flood.h"

namespace drape {

// The circle on which a node has to lie, and what tells one of its points from another.
struct CircleSearch {
    Vec3 centre;
    Vec3 planeNormal; // with `forward` it spans the plane square to the circle's axis
    Vec3 forward;     // comes back at unit length once triangles were cut
    double radius;
    Vec3 backPoint;         // the place behind the node
    bool listWanted = true; // whether the list is read where nothing is found
    bool missesAll = false; // comes back true if nothing is found for sure, wherever the search starts
};

// Lists the triangles in range of all `ballCount` (1 or 2) balls, walking from `start` over triangles in
// range of any, and finds the point of the circle on them that lies furthest forward, leaving out what lies
// where the grid came from. `found.triangle` is 0 if there is none, and the list is complete then. False with
// a work-array code if a working table can't grow.
bool searchSurface(std::int32_t start, const Ball* balls, int ballCount, CircleSearch& search,
                   SearchScratch& scratch, SurfacePoint& found, std::int32_t& status);

} // namespace drape
