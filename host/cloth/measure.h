// What a grid says to an engineer: its cells with their shear, the pattern, and the cover of the mould.
#pragma once

#include "host/cloth/grid.h"
#include "host/cloth/mould.h"

namespace drape::host {

// What is measured on a drape.
struct Measures {
    std::vector<Cell> cells;               // all complete cells
    double meanShear = 0.0;                // degrees, over cells on the surface
    double largestShear = 0.0;             // degrees, over cells on the surface
    double lockingAngle = 0.0;             // degrees
    double shareBeyondLocking = 0.0;       // 0 to 1, of the cells on the surface
    double patternArea = 0.0;              // flat, in the mould's unit squared
    std::array<double, 4> patternExtent{}; // min x, min y, max x, max y of the flat pattern
    std::size_t cellsOnSurface = 0;
    double mouldArea = 0.0;
    double coveredShare = 0.0; // 0 to 1, of the mould's area under the cloth
    double doubledShare = 0.0; // area of cloth that lies over other cloth, against the mould's area
};

// Cells, shear, pattern and cover of a grid, finished or not. `lockingAngle` in degrees.
Measures measure(const Mould& mould, const Grid& grid, double lockingAngle);

// Cloth may lie over itself by this share of the mould's area before that is more than rounding of the
// measure.
constexpr double mostDoubled = 0.05;

} // namespace drape::host
