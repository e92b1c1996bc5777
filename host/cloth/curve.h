// A closed curve drawn on the mould, such as a trim line, carried onto the flat pattern.
#pragma once

#include "host/cloth/grid.h"
#include "host/cloth/start.h"
#include "host/mesh/note.h"
#include "host/mesh/triangle_mesh.h"

namespace drape::host {

struct DrawnCurve {
    std::vector<Point> points;
    std::vector<Point> directions; // empty if the curve brings none
};

// A closed curve on the mould and where it lands on the flat pattern, point for point.
struct CurveResult {
    std::vector<Point> points;
    std::vector<std::array<double, 2>> flat;
};

// Without directions of its own the curve is projected along the normals of `surface`. Throws
// StatusError if it can't be carried over.
CurveResult carryOver(const DrawnCurve& curve, const TriangleMesh& surface, const Choice& choice,
                      const Grid& grid, Notes& notes);

} // namespace drape::host
