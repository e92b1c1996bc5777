// What the program's stages hand to each other: the mould, one drape of it, and what is measured on it.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace tool {

using Point = std::array<double, 3>;

// A triangulated mould, ready for the library. Vertex and triangle numbers are 0-based here; the int32
// arrays that go to the library (`corners`, `fanStart`, `fan`) hold what its header asks for.
struct Mould {
    std::vector<Point> positions;
    std::vector<std::int32_t> corners;            // 3 per triangle, 1-based vertices
    std::vector<std::int32_t> fanStart;           // per vertex, entries of `fan` before its own
    std::vector<std::int32_t> fan;                // triangles around each vertex, 1-based
    std::vector<std::int32_t> flagged;            // per vertex, 1 on the boundary loop that the library walks
    std::vector<std::vector<std::int32_t>> loops; // boundary loops, 0-based vertices, walked one first
    std::vector<std::int32_t> sourceFaces; // per triangle, its 1-based face in the file, 0 if not from it

    std::size_t triangleCount() const { return corners.size() / 3; }
    const Point& corner(std::size_t triangle, int k) const {
        return positions[static_cast<std::size_t>(corners[3 * triangle + static_cast<std::size_t>(k)]) - 1];
    }
};

// Where and how to drape.
struct Choice {
    Point seed{};
    Point warp{}; // direction 1 at the seed
    Point weft{}; // direction 4 at the seed
    double stepA = 0.0;
    double stepB = 0.0;
    double tolerance = 0.0;
    bool pivotByGridLine = true;
    std::int32_t nodeCapacity = 0;
};

// The grid as the library returns it. Node numbers in the links are 1-based, 0 for none; entry n - 1 of
// each array belongs to node n. All arrays are `count` nodes long.
struct Grid {
    std::int32_t count = 0;
    std::int32_t status = 0; // the library's code for the run
    std::vector<std::int32_t> link1, link2, link3, link4, i, j, nodeStatus, triangle;
    std::vector<double> position; // 3 per node
    std::vector<double> flat;     // 2 per node
    std::vector<double> normal;   // 3 per node
};

// A complete cell: corners c, link1[c], link4[link1[c]], link4[c] going round, 0-based nodes.
struct Cell {
    std::array<std::int32_t, 4> nodes{};
    double shear = 0.0;     // degrees, 0 where warp and weft are square
    bool onSurface = false; // all four corners are open and lie on a triangle
};

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

// A closed curve on the mould and where it lands on the flat pattern, point for point.
struct CurveResult {
    std::vector<Point> points;
    std::vector<std::array<double, 2>> flat;
};

} // namespace tool
