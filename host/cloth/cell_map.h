// The way between space and one cell of the cloth. Inside a cell a place is (u, v), 0 to 1 along warp and
// weft; its point in space is the even mixture of the corners, and what stands off the cell is projected
// along the even mixture of the corners' normals. Cells that share a side agree along it, so a line that
// leaves one cell enters the next at the same place.
#pragma once

#include "host/mesh/point.h"

#include <optional>

namespace drape::host {

struct CellSpot {
    double u = 0.0, v = 0.0;
    double height = 0.0; // over the cell, along its normal, in the mesh's unit
};

struct CellMap {
    std::array<Point, 4> corners{}; // going round from (0, 0) to (1, 0), (1, 1), (0, 1)
    std::array<Point, 4> normals{}; // unit vectors

    Point at(double u, double v, double height = 0.0) const;

    // The place over which `point` lies; none if the search for it doesn't settle within a cell or two of the
    // cell, as beside a cell that is folded.
    std::optional<CellSpot> placeOf(const Point& point) const;

    // Unit normal of the whole cell; zero if its diagonals are parallel.
    Point normal() const;

    // Whether all four corners turn the same way about the normal.
    bool isConvex() const;
};

} // namespace drape::host
