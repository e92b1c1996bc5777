// What counts as a triangle without area.
//
// Corners that stand on one line in exact arithmetic seldom do so in floating point: rounding leaves a cross
// product that points anywhere, and scaled to unit length it would pass for a normal. So a triangle whose
// sides enclose no more than what rounding can make of nothing has no plane.
#pragma once

#include "services/vectors.h"

namespace drape {

// `e1` and `e2` are the sides that leave corner A, `cross` their cross product.
inline bool enclosesNothing(const Vec3& e1, const Vec3& e2, const Vec3& cross) {
    constexpr double sine = 1e-13;
    return vor(cross) <= sine * sine * (vor(e1) * vor(e2));
}

} // namespace drape
