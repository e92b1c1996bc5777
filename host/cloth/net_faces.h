// The net pattern on the mould: its cells as faces in space, cut where they reach over the mould's edge, and
// its yarns, which end where it ends.
#pragma once

#include "host/cloth/cloth_lines.h"
#include "host/cloth/measure.h"

namespace drape::host {

// What belongs to the pattern of one cell.
struct NetFace {
    std::size_t cell = 0; // index into the measured cells
    double shear = 0.0;   // degrees, see netFaces
    bool whole = false;
    // Of a cut cell, in u and v: 0 to 1 along warp and weft but for what lies beyond the last cells; solid to
    // the left. None of a whole cell.
    std::vector<std::vector<FlatPoint>> polygons;
};

// All of them: the pattern's whole cells, then its clipped cells, in their order. The corners of a cell that
// hangs over an edge don't all lie on the mould, so it shows no shear of its own: it has the mean over those
// beside it that lie on the mould, else over those beside it that have got theirs this way; its own where
// there are none.
std::vector<NetFace> netFaces(const Grid& grid, const Measures& measures);

// Its polygons, whole or not.
const std::vector<std::vector<FlatPoint>>& polygonsOf(const NetFace& face);

// The point of space at u and v of a cell.
Point pointIn(const Grid& grid, const Cell& cell, const FlatPoint& place);

// What is known at the corners of a cell, at u and v within it.
Point mixedIn(const std::array<Point, 4>& corners, const FlatPoint& place);

// A face cut up into triangles, in u and v, anticlockwise; a whole cell along its shorter diagonal.
std::vector<std::array<FlatPoint, 3>> trianglesOf(const Grid& grid, const Cell& cell, const NetFace& face);

// In space, in the mould's unit squared.
double areaOf(const Grid& grid, const Cell& cell, const NetFace& face);

// A stretch of a yarn, which lies along a line of the grid.
struct Yarn {
    std::int32_t line = 0; // 0 through the seed
    std::vector<Point> points;
};

// The yarns of one family in space, each `every`-th of it, in the stretches that the faces have of them.
std::vector<Yarn> netYarns(const Grid& grid, const Measures& measures, const std::vector<NetFace>& faces,
                           Fibre fibre, std::int32_t every);

} // namespace drape::host
