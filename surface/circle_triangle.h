// Three planes, and the cut of a circle in space with a triangle.
#pragma once

#include "services/vectors.h"

#include <cstdint>

namespace drape {

struct Plane {
    Vec3 point, normal;
};

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
// `tolerance`.
bool outsideSlab(const Circle& circle, const Vec3& a, const Vec3& b, const Vec3& c, double tolerance);

CircleCut cutCircle(const Circle& circle, const Vec3& a, const Vec3& b, const Vec3& c, double tolerance,
                    std::int32_t clipMode);

// The same in mode CLIP_AFTER_SLAB_TEST, past the stages that can't take any of the points.
CircleCut cutCircleShortly(const Circle& circle, const Vec3& a, const Vec3& b, const Vec3& c,
                           double tolerance);

} // namespace drape
