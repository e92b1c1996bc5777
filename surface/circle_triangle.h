// Three planes, and the cut of a circle in space with a triangle.
#pragma once

#include "drape.h"
#include "services/vectors.h"
#include "surface/lanes.h"

#include <cstdint>

namespace drape {

template <class Real>
struct PlaneOf {
    VecOf<Real> point, normal;
};
using Plane = PlaneOf<double>;

template <class Real>
struct PlanesSolution {
    VecOf<Real> point;
    Real determinant;
};

// Of numbers, or of several side by side.
template <class Real>
PlanesSolution<Real> solvePlanes(const PlaneOf<Real>& p1, const PlaneOf<Real>& p2, const PlaneOf<Real>& p3) {
    const Real d1 = prosca(p1.point, p1.normal);
    const Real d2 = prosca(p2.point, p2.normal);
    const Real d3 = prosca(p3.point, p3.normal);
    const VecOf<Real> c23 = parvis(p2.normal, p3.normal);
    const VecOf<Real> c31 = parvis(p3.normal, p1.normal);
    const VecOf<Real> c12 = parvis(p1.normal, p2.normal);
    const Real determinant = prosca(p1.normal, c23);
    return {(d1 * c23 + d2 * c31 + d3 * c12) / determinant, determinant};
}

struct PlanesPoint {
    Vec3 point; // means nothing if singular
    bool singular;
};

PlanesPoint commonPoint(const Plane& p1, const Plane& p2, const Plane& p3, double threshold);

struct Circle {
    Vec3 centre;
    Vec3 axis; // unit normal of the circle's plane
    double radius;
};

enum ClipMode : std::int32_t {
    CUT_TRIANGLE_PLANE = 0,   // against the infinite plane of the triangle
    CLIP_AFTER_SLAB_TEST = 1, // to the triangle; a triangle on one side of the circle's plane falls out first
};

struct CircleCut {
    std::int32_t count = 0;
    Vec3 points[2]{};
    std::int32_t kinds[2] = {0, 0}; // DRAPE_AT_NOWHERE ... DRAPE_IN_INTERIOR
    bool singular = false;
};

// The slab test: whether a triangle lies wholly on one side of the circle's plane, further off than
// `tolerance`; of numbers, or of several side by side.
template <class Real>
auto besideSlab(const VecOf<Real>& centre, const VecOf<Real>& axis, const VecOf<Real>& a,
                const VecOf<Real>& b, const VecOf<Real>& c, double tolerance) {
    const Real level = prosca(centre, axis);
    const Real ha = prosca(a, axis) - level;
    const Real hb = prosca(b, axis) - level;
    const Real hc = prosca(c, axis) - level;
    const Real low = smallerOf(smallerOf(hc, hb), ha);
    const Real high = largerOf(largerOf(hc, hb), ha);
    return (low > tolerance + Real{}) | (0.0 - tolerance + Real{} > high);
}
inline bool outsideSlab(const Circle& circle, const Vec3& a, const Vec3& b, const Vec3& c, double tolerance) {
    return besideSlab(circle.centre, circle.axis, a, b, c, tolerance) != 0;
}

CircleCut cutCircle(const Circle& circle, const Vec3& a, const Vec3& b, const Vec3& c, double tolerance,
                    std::int32_t clipMode);

// The kind of the first corner to which a point is nearer than the tolerance, 0 if there is none.
inline std::int32_t cornerAt(const Vec3& point, const Vec3& a, const Vec3& b, const Vec3& c,
                             double tolerance2) {
    if (cadis(point, a) < tolerance2)
        return DRAPE_AT_VERTEX_A;
    if (cadis(point, b) < tolerance2)
        return DRAPE_AT_VERTEX_B;
    return cadis(point, c) < tolerance2 ? DRAPE_AT_VERTEX_C : 0;
}

// Points of the circle in the plane of a triangle that are still to be placed on it, at most two, in order.
struct WorkingPoints {
    std::int32_t count = 0;
    Vec3 points[2]{};
};

// The points that lie on the triangle, those at its corners first, then those on its edges.
CircleCut clipToTriangle(const Vec3& a, const Vec3& b, const Vec3& c, const Vec3& normal,
                         const WorkingPoints& points, double tolerance);

} // namespace drape
