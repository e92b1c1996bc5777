// What counts as a triangle without area, and what as a sliver.
//
// Corners that stand on one line in exact arithmetic seldom do so in floating point: rounding leaves a cross
// product that points anywhere, and scaled to unit length it would pass for a normal. So a triangle whose
// sides enclose no more than what rounding can make of nothing has no plane.
#pragma once

#include "services/vectors.h"

#include <algorithm>
#include <cmath>

namespace drape {

// `e1` and `e2` are the sides that leave corner A, `cross` their cross product.
inline bool enclosesNothing(const Vec3& e1, const Vec3& e2, const Vec3& cross) {
    constexpr double sine = 1e-13;
    return vor(cross) <= sine * sine * (vor(e1) * vor(e2));
}

// The measures on which bounds of a triangle rest.
struct TriangleShape {
    double longest, shortest; // sides
    double area;              // of the parallelogram

    TriangleShape(const Vec3& a, const Vec3& b, const Vec3& c) {
        const double ab = vor(b - a);
        const double bc = vor(c - b);
        const double ca = vor(a - c);
        longest = std::sqrt(std::max(ab, std::max(bc, ca)));
        shortest = std::sqrt(std::min(ab, std::min(bc, ca)));
        area = std::sqrt(vor(parvis(b - a, c - a)));
    }

    // Slivers, and what holds no number: exact tests on them are too ill-conditioned to be bounded.
    bool isSliver() const {
        constexpr double ratio = 1e-3; // of the height to the longest side
        return !(area > ratio * longest * longest);
    }
};

} // namespace drape
