// Which cells of a drape lie over a place of the mould. A cell lies over a triangle's centroid if the way
// from the cell to the centroid runs along the triangle's normal and both face the same side. The way from
// the nearest place of the cell is asked first. Where a cell spans a sharp edge of the mould, that way runs
// aslant; there the one along the normal is followed.
#pragma once

#include "host/cloth/cell_cubes.h"
#include "host/cloth/grid.h"
#include "host/cloth/mould.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace drape::host {

// The place of a cell nearest to a centroid.
struct CellPlace {
    std::size_t cell = 0; // index into the cells
    Cover cover = Cover::none;
    double along = 0.0;  // 0 to 1 along the warp
    double across = 0.0; // and along the weft
};

// The same place on the flat pattern.
std::array<double, 2> flatPlace(const Grid& grid, const Cell& cell, const CellPlace& place);

class CellCover {
public:
    // `cells` are all complete cells of `grid`.
    CellCover(const Grid& grid, const std::vector<Cell>& cells);

    double cellLength() const { return step_; } // the longest side of a cell on the mould

    using Accepts = std::function<bool(const CellPlace&)>;

    // The nearest cell that lies over the facet, a whole one before one at an edge, one that does so across a
    // sharp edge of the mould last; cover none if there isn't any. Of cells at an edge only those that
    // `accepts` takes, if it isn't empty.
    CellPlace nearestOver(const Facet& facet, const Accepts& accepts = {}) const;

    // What one facet's search leaves for the next one, which is likely to lie close by.
    struct Hint {
        std::optional<std::size_t> cell; // that covered the last facet
        Cube cube{};                     // that the last facet lay in
        std::vector<std::uint32_t> near; // cells in that cube and around it, what covered of late in front
        bool known = false;
    };

    // The cover alone, and in the hint a cell that lies over the facet, not always the nearest.
    Cover coverOf(const Facet& facet, Hint& hint) const;

private:
    // One of the two triangles of a cell: what a point's arm from its first corner is multiplied by for the
    // point's shares of the other two and its height.
    struct Half {
        Point toSecond, toThird, height;
    };
    struct Shape {
        std::array<Point, 4> corners; // the diagonal between the first and the third is the shorter one
        std::array<Half, 2> halves;
        Point centre, normal;
        double farSquare;  // squared distance off the centre beyond which nothing is covered
        std::size_t first; // corner of the cell that `corners` begin with
        Cover cover;
    };
    struct Place;

    static Half halfOf(const Point& a, const Point& b, const Point& c);
    Shape shapeOf(const Grid& grid, const Cell& cell) const;
    static Place placeAt(const Shape& shape, std::size_t half, double second, double third);
    static Place placeIn(const Shape& shape, const Point& p);
    Place placeAcrossEdge(const Shape& shape, const Facet& facet) const;
    bool canLieOver(const Shape& shape, const Facet& facet) const;
    bool liesOver(const Facet& facet, const Place& place) const;
    bool surelyLiesOver(const Shape& shape, const Facet& facet) const;
    bool surelyLiesBeside(const Shape& shape, const Facet& facet) const;
    bool covers(const Shape& shape, const Facet& facet) const;

    double step_; // longest side of a cell on the mould
    CellCubes cubes_;
    std::vector<Shape> shapes_; // one per cell
};

} // namespace drape::host
