// A closed curve drawn on the mould, such as a trim line, carried onto the flat pattern.
#pragma once

#include "log.h"
#include "mesh.h"

#include <string>

namespace tool {

struct DrawnCurve {
    std::vector<Point> points;
    std::vector<Point> directions; // empty if the file gives none
};

// Reads x y z per line, with three more numbers for the direction in which a point is projected onto the
// cloth, or the vertices and lines of an OBJ file. A last point equal to the first is left out. Throws
// InputError.
DrawnCurve readCurve(const std::string& path);

// Without directions of its own the curve is projected along the normals of `surface`. Throws
// std::runtime_error with the library's reason if it can't be carried over.
CurveResult carryOver(const DrawnCurve& curve, const TriangleMesh& surface, const Choice& choice,
                      const Grid& grid, const Log& log);

} // namespace tool
