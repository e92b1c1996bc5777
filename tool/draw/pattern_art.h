// The flat pattern itself, wherever it is drawn: cells in shear colours, yarns, net and cut lines, curves,
// the seed with warp and weft, and the ply's name.
#pragma once

#include "tool/draw/canvas.h"
#include "tool/draw/pattern_reach.h"
#include "tool/draw/scene.h"

namespace tool {

// Where flat places come to lie on a page in millimetres. Warp runs to the right, weft up the page.
struct Placement {
    double originX = 0.0, originY = 0.0; // flat 0, 0 on the page
    double perUnit = 1.0;                // millimetres on the page per unit of the mould
    double growth = 1.0;                 // of texts and lines

    FlatPoint place(const FlatPoint& flat) const {
        return {originX + perUnit * flat[0], originY - perUnit * flat[1]};
    }
};

// What lies outside of `visible` on the page may be left out.
void drawPattern(Canvas& canvas, const Placement& page, const Scene& scene, const ShearScale& scale,
                 const Box& visible);

// Only the lines: the cut or else the net line, and the curves.
void drawPatternLines(Canvas& canvas, const Placement& page, const Scene& scene);

// Adds sheets of paper to be joined to a PDF, with a map of them in front. Throws std::runtime_error if there
// were beyond all measure.
void addTiledPattern(std::unique_ptr<Canvas>& canvas, const Scene& scene, const Paper& paper);

} // namespace tool
