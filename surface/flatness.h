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

// A vector over the largest of its components; no number where it has none or no length.
inline Vec3 broughtToSize(const Vec3& v) {
    return v / std::max(std::fabs(v.x), std::max(std::fabs(v.y), std::fabs(v.z)));
}

inline bool isNothing(const Vec3& v) {
    return v.x == 0.0 && v.y == 0.0 && v.z == 0.0;
}

constexpr double FLAT_SINE = 1e-13;

// Between these squared lengths no product overflows, nor falls so low that it loses bits.
template <class Real>
auto keepsItsBits(const Real& length2) {
    return (length2 > 1e-70 + Real{}) & (length2 < 1e70 + Real{});
}

// Whether sides with these squared lengths, and this squared cross product, enclose something for sure; of
// numbers, or of several side by side.
template <class Real>
auto clearlyEncloseArea(const Real& e1e1, const Real& e2e2, const Real& cross2) {
    return keepsItsBits(e1e1) & keepsItsBits(e2e2) & (cross2 > FLAT_SINE * FLAT_SINE * (e1e1 * e2e2));
}

// `e1` and `e2` are the sides that leave corner A, `cross` their cross product. Sides that are no numbers
// enclose something: the steps that follow give them back.
inline bool enclosesNothing(const Vec3& e1, const Vec3& e2, const Vec3& cross) {
    const double e1e1 = vor(e1);
    const double e2e2 = vor(e2);
    if (keepsItsBits(e1e1) && keepsItsBits(e2e2))
        return vor(cross) <= FLAT_SINE * FLAT_SINE * (e1e1 * e2e2);
    if (isNothing(e1) || isNothing(e2))
        return true;
    const Vec3 s1 = broughtToSize(e1);
    const Vec3 s2 = broughtToSize(e2);
    return vor(parvis(s1, s2)) <= FLAT_SINE * FLAT_SINE * (vor(s1) * vor(s2));
}

// The measures on which bounds of a triangle rest.
struct TriangleShape {
    double longest2, shortest2; // sides, squared
    Vec3 cross;                 // of the sides that leave corner A
    double area2;               // of the parallelogram, squared

    TriangleShape(const Vec3& a, const Vec3& b, const Vec3& c) {
        const double ab = vor(b - a);
        const double bc = vor(c - b);
        const double ca = vor(a - c);
        longest2 = std::max(ab, std::max(bc, ca));
        shortest2 = std::min(ab, std::min(bc, ca));
        cross = parvis(b - a, c - a);
        area2 = vor(cross);
    }

    // Slivers, and what holds no number: exact tests on them are too ill-conditioned to be bounded.
    static constexpr double SLIVER_RATIO = 1e-3; // of the height to the longest side
    bool isSliver() const { return !(area2 > SLIVER_RATIO * SLIVER_RATIO * (longest2 * longest2)); }
};

} // namespace drape
