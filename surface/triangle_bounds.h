// Bounding spheres of the mesh triangles, worked out once per run.
//
// A sphere settles most questions whether a triangle is in range of a point without its exact geometry. The
// answers are conservative, with a margin above what the exact test rounds, snaps or allows to hang over, so
// what they settle is what that test would have said. Only `unknown` goes on to it.
#pragma once

#include "run/model.h"
#include "services/work_arrays.h"
#include "surface/margins.h"
#include "surface/measured_triangle.h"

namespace drape {

enum class Range { in, out, unknown };

// A ball around a node: triangles nearer than radius + tolerance are in range of it.
struct Ball {
    Ball(const Vec3& c, double r, double t)
        : centre(c), radius(r), tolerance(t), clearlyWithin(r * (1.0 - margins::DISTANCE_SHARE)),
          clearlyBeyond((r + t) * (1.0 + margins::DISTANCE_SHARE)) {}

    Vec3 centre;
    double radius;
    double tolerance;
    double clearlyWithin; // a nearer point is in range whatever is snapped to
    double clearlyBeyond; // what lies further off is out of range
};

class TriangleBounds {
public:
    // Takes one work array, 32 bytes per triangle. After begin, `put` is called for all triangles. False with
    // a work-array code.
    bool begin(const SurfaceMesh& mesh, double tolerance, std::int32_t& status);
    void put(std::int32_t triangle, const MeasuredTriangle& measured);
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

    // Whether the triangle is in range for sure because `corner`, one of its corners, lies in the ball.
    bool inRangeByPoint(std::int32_t triangle, const Vec3& corner, const Ball& ball) const {
        return cornerSettles(spheres_[triangle - 1], cadis(corner, ball.centre), ball);
    }

    // The same with the triangle's own shape, for what its sphere leaves open. Still conservative, but what
    // stays unknown now lies within a margin of the limit.
    Range inRangeByCorners(std::int32_t triangle, const Ball& ball) const;

    // Squared distance from a point to the centre of a triangle's sphere.
    double squaredDistanceToCentre(std::int32_t triangle, const Vec3& point) const {
        const Sphere& s = spheres_[triangle - 1];
        return cadis(point, {s.x, s.y, s.z});
    }

    // A lower bound of the distance from a point to the triangle, as the exact test gives it.
    double distanceBelow(std::int32_t triangle, const Vec3& point) const;

private:
    // `slack` is that of the exact distance, infinite where it has no bound.
    struct Sphere {
        double x, y, z;
        float radius, slack;
    };
    static_assert(sizeof(Sphere) == 4 * sizeof(double));

    // Whether a corner of a triangle lies so near that the triangle is in range for sure.
    bool cornerSettles(const Sphere& s, double distance2, const Ball& ball) const {
        const double inner = ball.clearlyWithin - static_cast<double>(s.slack);
        if (inner > 0.0 && distance2 < inner * inner)
            return true;
        const double outer = ball.radius + margins::CORNER_SHARE * ball.tolerance;
        return distance2 < outer * outer && static_cast<double>(s.slack) < margins::ENDLESS &&
               margins::cornersSettleRange(ball.radius, ball.tolerance, largestRounding_);
    }

    const SurfaceMesh* mesh_ = nullptr;
    double largestRounding_ = 0.0; // of the triangles that have a bound
    double tolerance_ = 0.0;
    Sphere* spheres_ = nullptr;
    WorkArray<double> block_;
};

} // namespace drape
