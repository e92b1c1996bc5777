// What a grid says to an engineer: its cells with their shear, the pattern, and the cover of the mould.
#pragma once

#include "host/cloth/grid.h"
#include "host/cloth/mould.h"
#include "host/cloth/net_pattern.h"

namespace drape::host {

// What is measured on a drape.
struct Measures {
    std::vector<Cell> cells; // all complete cells
    NetPattern net;          // what to cut
    double meanShear = 0.0;  // degrees without sign, over cells on the surface, as is the largest
    double largestShear = 0.0;
    double lockingAngle = 0.0;       // degrees
    double shareBeyondLocking = 0.0; // 0 to 1, of the cells on the surface
    double largestTurn = 0.0;        // degrees, of a yarn within the cloth between neighbouring cells
    Point largestTurnAt{};           // where that is
    std::size_t cellsOnSurface = 0;
    double mouldArea = 0.0;    // in its unit squared
    std::vector<double> bare;  // of each triangle's area, what no cloth lies on; empty if nothing is bare
    double coveredShare = 0.0; // 0 to 1, of the mould's area under the cloth
    double doubledShare = 0.0; // area of cloth that lies over other cloth, against the mould's area
};

// A yarn that turns by more degrees than this from one cell to the next isn't resolved by the cells, or
// kinks.
constexpr double sharpTurn = 30.0;

// All complete cells of a grid, with their shear.
std::vector<Cell> cellsOf(const Grid& grid);

// Cells, shear and turns of a grid, finished or not. `lockingAngle` in degrees. It costs a small part of a
// run, the rest about as much as one.
Measures measureShear(const Grid& grid, double lockingAngle);

// The rest: pattern, mould's area and cover. It writes nothing that `measureShear` has worked out.
void measureCover(const Mould& mould, const Grid& grid, Measures& measures);

// All of them.
Measures measure(const Mould& mould, const Grid& grid, double lockingAngle);

// Cloth may lie over itself by this share of the mould's area before that is more than rounding of the
// measure.
constexpr double mostDoubled = 0.05;

} // namespace drape::host
