// Where to start if nobody says: of a few dozen places around the middle the one from which the cloth shears
// least.
#pragma once

#include "host/search/for_each.h"
#include "host/search/ranking.h"

namespace drape::host {

// Places over the middle of a surface and in rings around it, in an order of their own. They follow from the
// shape alone: its unit, the order of its triangles and vertices and their winding make no difference. None
// where no place lies above or below the middle.
std::vector<Point> placesAroundTheMiddle(const Mould& mould);

// A search for the best of these in steps, for a host that shows what comes meanwhile: drapes each candidate
// on the `surface` of the search by tried(), and takes the best of the results.
struct StartSearch {
    Surface surface;
    std::vector<Candidate> candidates;
};
StartSearch startSearch(const Surface& surface, double angle);
Point bestOf(std::vector<SweepResult> results, const Point& otherwise);

// The best of these at `angle` (degrees): of the drapes that come to their end in one layer and cover nearly
// as much as any, the one with the least share beyond locking, then the least mean shear; of nearly equal
// ones the first. The surface's default seed if none comes to its end. Judged with cells about 40 across, or
// coarser if the surface's are. `forEach` carries the drapes out, one by one if it's empty. Throws InputError
// (upright) if a warp was asked for that stands upright on the surface in its middle.
Point bestStart(const Surface& surface, const TrialWishes& wishes, double angle, const ForEach& forEach = {});

} // namespace drape::host
