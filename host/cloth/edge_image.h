// Straight edges of the mould as a cell sees them: their images in its u and v, cut to the cell.
#pragma once

#include "host/cloth/cell_map.h"
#include "host/cloth/flat_point.h"

#include <cstdint>
#include <optional>
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

    // The same of the sphere around the cell and the height that is allowed.
    Shares sharesAround(const Segment& s) const;

private:
    Point origin_, centre_;
    double reach_;
    std::array<Point, 4> out_{};
    std::array<double, 4> far_{};
};

// The parts of a segment inside the cell.
std::vector<Samples> insideOf(const CellMap& cell, const Fence& fence, const Segment& s, double step);

// Tells of edges of the mould whether any part of them is. The places of vertices are kept for a while, as
// several edges ask for each.
class EdgesInside {
public:
    EdgesInside(const CellMap& cell, const Fence& fence, double step);

    // `from` and `to` are the vertices at the segment's ends, 0-based.
    bool reach(const Segment& s, std::int32_t from, std::int32_t to);

private:
    struct Placed {
        std::int32_t vertex = -1;
        std::optional<FlatPoint> place;
    };

    const std::optional<FlatPoint>& placeOf(std::int32_t vertex, const Point& position);

    const CellMap& cell_;
    const Fence& fence_;
    double step_;
    std::array<Placed, 64> placed_;
};

// Of a coordinate inside a cell, 0 to 1.
double withinCell(double x);

} // namespace drape::host
