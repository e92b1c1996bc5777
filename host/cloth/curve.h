// Closed curves drawn on the mould, such as trim lines, carried onto the flat pattern.
#pragma once

#include "host/cloth/flat_overlap.h"
#include "host/cloth/measure.h"
#include "host/cloth/start.h"
#include "host/mesh/note.h"

#include <string>

namespace drape::host {

struct DrawnCurve {
    std::string name;
    std::vector<Point> points;
    std::vector<Point> directions; // empty if the curve brings none
};

// A stretch of a curve that lies on the cloth, on the mould and on the flat pattern, point for point.
struct CurveStretch {
    std::vector<Point> points; // as drawn
    std::vector<Point> cloth;  // where the cloth carries them
    std::vector<FlatPoint> flat;
    std::vector<std::int32_t> numbers; // per point, its 1-based number in the curve, 0 where it was cut
    std::vector<Point> line; // as it runs on the cloth where it's straight on the pattern, closed ones to
                             // their first point again
    bool closed = false; // the whole curve
};

struct CurveResult {
    std::string name;
    std::size_t drawnPoints = 0;
    std::vector<CurveStretch> stretches; // in the order of the curve
};

// Sums over the stretches, in the mould's unit: along the cloth as it lies there, and flat.
double lengthOnMould(const CurveResult& curve);
double lengthOnPattern(const CurveResult& curve);

// The cloth ends where the net pattern of `measures` does, and with `mould`, which is what was draped: of a
// patch, the patch. Without directions of its own the curve is projected along the mould's normals. Where it
// leaves the cloth it's cut, or unless `cut` is set, InputError (curveOffCloth) names the first such point; a
// way between two points on the cloth that leaves it is told.
// Throws StatusError if it can't be carried over at all.
CurveResult carryOver(const DrawnCurve& curve, const Mould& mould, const Choice& choice, const Grid& grid,
                      const Measures& measures, bool cut, Notes& notes);

} // namespace drape::host
