// Whether a triangle is in range of a point, by bounds around its exact distance.
//
// The answers are conservative, with a margin above what the exact test rounds, snaps or allows to hang over,
// so what they settle is what that test would have said. Only `unknown` goes on to it.
#pragma once

#include "run/model.h"
#include "surface/flatness.h"

#include "surface/lanes.h"
#include "surface/margins.h"
#include <algorithm>

namespace drape {

enum class Range { in, out, unknown };

// What settles a range for triangles whose distances are off by no more than a slack.
struct RangeLimits {
    RangeLimits(double radius, double tolerance, const margins::DistanceSlack& slack)
        : bounded(slack.sum() < margins::ENDLESS),
          beyond((radius + tolerance) * (1.0 + margins::DISTANCE_SHARE) + slack.sum()) {
        const double within = radius * (1.0 - margins::DISTANCE_SHARE) - slack.sum();
        within2 = within > 0.0 ? within * within : 0.0;
        const double corner = radius + margins::CORNER_SHARE * tolerance;
        corner2 = margins::cornersSettleRange(radius, tolerance, slack.rounding)
                      ? std::max(within2, corner * corner)
                      : within2;
    }

    bool bounded;
    double beyond;  // what lies further off is out of range
    double within2; // squared: a nearer point of the triangle puts it in range, whatever is snapped to,
    double corner2; // and so does a nearer corner
};

// A ball around a node: triangles nearer than radius + tolerance are in range of it. `largestSlack`, at the
// origin, holds for all triangles of the mesh; what it leaves open is settled by a triangle's own.
struct Ball {
    Ball(const Vec3& c, double r, double t, const margins::DistanceSlack& largestSlack = {})
        : centre(c), radius(r), tolerance(t), offset(margins::largestCoordinate(c)),
          limits(r, t, largestSlack.at(offset)) {}

    Vec3 centre;
    double radius;
    double tolerance;
    double offset;
    RangeLimits limits;
};

class BoundedTriangle {
public:
    BoundedTriangle(const SurfaceMesh& mesh, std::int32_t triangle)
        : a_(mesh.corner(triangle, 0)), b_(mesh.corner(triangle, 1)), c_(mesh.corner(triangle, 2)) {}

    const Vec3& a() const { return a_; }
    const Vec3& b() const { return b_; }
    const Vec3& c() const { return c_; }

    // Whether Ball::radius + tolerance is above the distance from its centre to the triangle.
    Range inRange(const Ball& ball) const;

    // By the triangle's own slack.
    RangeLimits ownLimits(const Ball& ball) const {
        return {ball.radius, ball.tolerance,
                margins::distanceSlack(TriangleShape(a_, b_, c_), ball.offset, ball.tolerance)};
    }

    // A lower bound of the distance from a point to the triangle, as the exact test gives it.
    double distanceBelow(const Vec3& point, double tolerance) const;

private:
    Range inRange(const Ball& ball, const RangeLimits& limits) const;

    Vec3 a_, b_, c_;
};

// The distances of a point from two triangles, but for rounding.
DoublePair distancesOf(const Vec3& point, const BoundedTriangle& first, const BoundedTriangle& second);

// Whether a triangle is in range for sure because `corner`, one of its corners, lies in the ball.
inline bool inRangeByCorner(const SurfaceMesh& mesh, std::int32_t triangle, const Vec3& corner,
                            const Ball& ball) {
    const double distance2 = cadis(corner, ball.centre);
    if (ball.limits.bounded)
        return distance2 < ball.limits.corner2;
    return distance2 < BoundedTriangle(mesh, triangle).ownLimits(ball).corner2;
}

} // namespace drape
