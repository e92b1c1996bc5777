// Straight edges of the mould as a cell sees them: their images in its u and v, cut to the cell.
#pragma once

#include "host/cloth/cell_map.h"
#include "host/cloth/flat_point.h"

#include <vector>

namespace drape::host {

// A straight line in space, of which `share` 0 to 1 runs from a to b.
struct Segment {
    Point a, b;
};

// A place on a segment's image.
struct Sample {
    double share = 0.0;
    FlatPoint place{}; // u and v in the cell
};

using Samples = std::vector<Sample>; // fine enough that straight lines between the places stand for the image
using Shares =
    std::array<double, 2>; // from and to along a segment, empty where the first is above the second

// Planes along a cell's four sides, between which all lies that the cell's map takes in: every place is a
// mixture of the corners, each moved along its normal by the height that is allowed at most. `step` is the
// longer cell length, here and below.
class Fence {
public:
    Fence(const CellMap& cell, double step);

    // The shares between which a segment lies beyond none of the planes.
    Shares sharesWithin(const Segment& s) const;

private:
    Point origin_;
    std::array<Point, 4> out_{};
    std::array<double, 4> far_{};
};

// The parts of a segment inside the cell.
std::vector<Samples> insideOf(const CellMap& cell, const Fence& fence, const Segment& s, double step);

// Whether any part of a segment is.
bool reachesInside(const CellMap& cell, const Fence& fence, const Segment& s, double step);

// Of a coordinate inside a cell, 0 to 1.
double withinCell(double x);

} // namespace drape::host
