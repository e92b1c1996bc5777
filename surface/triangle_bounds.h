// Bounding spheres of the mesh triangles, worked out once per run.
//
// A sphere settles most questions about a triangle without its exact geometry: is it in range of a point,
// can a circle meet it. The answers are conservative, with a margin far above rounding and above what the
// exact tests snap or allow to hang over, so what they settle is what the exact test would have said. Only
// `unknown` goes on to that test.
#pragma once

#include "run/model.h"
#include "services/work_arrays.h"
#include "surface/circle_triangle.h"

namespace drape {

enum class Range { in, out, unknown };

// A ball around a node: triangles nearer than radius + tolerance are in range of it.
struct Ball {
    // Shares of a length by which the bounds stay clear of rounding.
    static constexpr double RELATIVE_MARGIN = 1e-9;

    Ball(const Vec3& c, double r, double t)
        : centre(c), radius(r), tolerance(t), clearlyWithin(r * (1.0 - RELATIVE_MARGIN)),
          clearlyBeyond((r + t) * (1.0 + RELATIVE_MARGIN)) {}

    Vec3 centre;
    double radius;
    double tolerance;
    double clearlyWithin; // a nearer point is in range whatever is snapped to
    double clearlyBeyond; // what lies further off is out of range
};

class TriangleBounds {
public:
    // Takes one work array, 32 bytes per triangle.
    bool build(const SurfaceMesh& mesh, double tolerance, std::int32_t& status);
    void release(std::int32_t& status) { block_.release(status); }

    // Whether Ball::radius + tolerance is above the distance from its centre to the triangle.
    Range inRange(std::int32_t triangle, const Ball& ball) const {
        const Sphere& s = spheres_[triangle - 1];
        const Vec3 d = ball.centre - Vec3{s.x, s.y, s.z};
        const double distance2 = vor(d);
        // The centre of the sphere is a point of the triangle, so its distance bounds the triangle's above.
        const double inner = ball.clearlyWithin - static_cast<double>(s.slack);
        if (inner > 0.0 && distance2 < inner * inner)
            return Range::in;
        const double outer =
            ball.clearlyBeyond + static_cast<double>(s.slack) + static_cast<double>(s.radius);
        return distance2 > outer * outer ? Range::out : Range::unknown;
    }

    // The same with the triangle's own shape, for what its sphere leaves open. Still conservative, but what
    // stays unknown now lies within a margin of the limit.
    Range inRangeByCorners(std::int32_t triangle, const Ball& ball) const;

    // True only if the cut of the circle with the triangle certainly gives no hit.
    bool missesCircle(std::int32_t triangle, const Circle& circle, double tolerance) const {
        const Sphere& s = spheres_[triangle - 1];
        const double radius = static_cast<double>(s.radius);
        // Triangles tiny against the circle are left to the exact cut, whose side tests lose their last
        // digits there.
        if (!(circle.radius < 1e3 * radius))
            return false;
        const double reach = radius * (1.0 + 1e-5) + static_cast<double>(s.slack) + 2.0 * tolerance;
        const Vec3 d = Vec3{s.x, s.y, s.z} - circle.centre;
        const double height = prosca(d, circle.axis);
        if (height > reach || -height > reach)
            return true;
        const double distance2 = vor(d);
        const double outer = circle.radius + reach;
        if (distance2 > outer * outer)
            return true;
        const double inner = circle.radius - reach;
        return inner > 0.0 && distance2 < inner * inner;
    }

    // A lower bound of the distance from a point to the triangle, as the exact test gives it.
    double distanceBelow(std::int32_t triangle, const Vec3& point) const;

private:
    // `slack` holds the rounding of the triangle's frame and the overhang of its edge tests; it is infinite
    // for slivers, whose exact tests are too ill-conditioned to be bounded.
    struct Sphere {
        double x, y, z;
        float radius, slack;
    };
    static_assert(sizeof(Sphere) == 4 * sizeof(double));

    static Sphere boundOf(const Vec3& a, const Vec3& b, const Vec3& c, double tolerance);

    const SurfaceMesh* mesh_ = nullptr;
    Sphere* spheres_ = nullptr;
    WorkArray<double> block_;
};

} // namespace drape
