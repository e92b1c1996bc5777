// Which fibres lie on each triangle of the mould: what a structural model of the part needs.
#pragma once

#include "host/cloth/measure.h"

namespace drape::host {

struct TriangleFibres {
    Cover cover = Cover::none;
    std::int32_t cell = -1; // index into the measured cells
    double shear = 0.0;     // degrees
    Point warp{};           // unit vectors in the triangle's plane, zero where there is no cloth
    Point weft{};
};

// One entry per triangle.
std::vector<TriangleFibres> mapFibres(const Mould& mould, const Grid& grid, const Measures& measures);

} // namespace drape::host
