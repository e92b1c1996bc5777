// The net pattern: the part of the cloth that lies over the mould, as the flat shape to cut. Its outline is
// the mould's own edge, outline and holes, carried onto the cloth; where the cloth ends before the mould
// does, the cloth's edge closes it.
#pragma once

#include "host/cloth/flat_overlap.h"
#include "host/cloth/grid.h"
#include "host/cloth/mould.h"

namespace drape::host {

// What a stretch of the net outline is.
enum class NetBorder {
    mould,  // the mould's edge inside a cell
    beyond, // the mould's edge less than a cell beyond the last cell, whose map was carried on
    cloth   // the edge of the cloth: the mould goes on here without cloth
};

// A closed line of the net outline, the first point not repeated. The pattern lies to the left: outlines run
// counter-clockwise, holes clockwise. Straight lines between the points stay within a thousandth of a cell of
// the line that is meant.
struct NetLoop {
    std::vector<FlatPoint> flat;       // on the pattern, in the mould's unit, the seed at 0, 0
    std::vector<Point> space;          // the same points on the mould's or the cloth's edge
    std::vector<NetBorder> borders;    // of the stretch from each point to the next
    std::vector<Point> rim;            // the line in space, also where it's straight on the pattern alone
    std::vector<NetBorder> rimBorders; // of it
    double area = 0.0;                 // flat, below 0 for a hole
    double length = 0.0;               // flat
};

// A cell that lies over the mould only in part.
struct ClippedCell {
    std::size_t cell = 0;                         // index into the measured cells
    std::vector<std::vector<FlatPoint>> polygons; // on the pattern, solid to the left, so holes run clockwise
};

struct NetPattern {
    std::vector<NetLoop> loops;          // by falling size of their area; an outline first
    std::vector<std::size_t> wholeCells; // indices into the measured cells, rising
    std::vector<ClippedCell>
        clippedCells;  // rising, none that is empty; nodes that a cut has doubled make one cell
    double area = 0.0; // sum over the loops; cloth that lies over cloth on the pattern counts twice
    std::array<double, 4> extent{}; // min x, min y, max x, max y of the loops; 0 without any
    double clothEdgeLength = 0.0;   // flat, of all stretches where the cloth ends before the mould
    double overlapArea =
        0.0; // of the pattern that lies over itself, as where cloth meets on both sides of a cut
    std::vector<std::vector<FlatPoint>> overlaps; // that area, as polygons that don't overlap

    // Whether the outline is the mould's edge and nothing else: then no part of the mould is bare.
    bool reachesEdge() const { return !loops.empty() && clothEdgeLength == 0.0; }
};

// Whether the pattern overlaps itself by more than rounding where two sides of a cut touch.
inline bool liesOverItself(const NetPattern& net) {
    constexpr double rounding = 1e-9; // of the area
    return net.overlapArea > rounding * net.area;
}

// `cells` are all complete cells of `grid`, which was draped over `mould`.
NetPattern netPatternOf(const Mould& mould, const Grid& grid, const std::vector<Cell>& cells);

} // namespace drape::host
