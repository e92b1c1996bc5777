// From where to look at a mould: a parallel view, so that lengths across the picture are true to one scale.
#pragma once

#include "host/cloth/measure.h"

namespace tool {

using namespace drape::host;

// Place on the picture, x to the right and y down, and nearness to the eye, all in the mould's unit until the
// view is fitted to a box of pixels.
struct Seen {
    double x = 0.0, y = 0.0, near = 0.0;
};

struct MouldView {
    Point right{1.0, 0.0, 0.0}, up{0.0, 1.0, 0.0}, toEye{0.0, 0.0, 1.0}; // unit vectors, square to each other
    double scale = 1.0;                                                  // pixels per unit
    double shiftX = 0.0, shiftY = 0.0;                                   // pixels
    double width = 0.0, height = 0.0;                                    // pixels that the mould takes

    Seen see(const Point& point) const;
};

// A view from obliquely above the draped side with the longer side of the mould running across, from where
// the seed can be seen if there is such a place, fitted into at most `width` by `height` pixels with its
// corner at 0, 0.
MouldView chooseView(const Mould& mould, const Grid& grid, double width, double height);

} // namespace tool
