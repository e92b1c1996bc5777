// Whether a triangle is in range of a point, by bounds around its exact distance.
//
// The answers are conservative, with a margin above what the exact test rounds, snaps or allows to hang over,
// so what they settle is what that test would have said. Only `unknown` goes on to it.
#pragma once

#include "run/model.h"
#include "surface/flatness.h"
#include "surface/margins.h"

namespace drape {

enum class Range { in, out, unknown };

// A ball around a node: triangles nearer than radius + tolerance are in range of it.
struct Ball {
    Ball(const Vec3& c, double r, double t)
        : centre(c), radius(r), tolerance(t), offset(margins::largestCoordinate(c)),
          clearlyWithin(r * (1.0 - margins::DISTANCE_SHARE)),
          clearlyBeyond((r + t) * (1.0 + margins::DISTANCE_SHARE)) {}

    Vec3 centre;
    double radius;
    double tolerance;
    double offset;
    double clearlyWithin; // a nearer point is in range whatever is snapped to
    double clearlyBeyond; // what lies further off is out of range
};

class BoundedTriangle {
public:
    // `largestSlack`, at the origin, holds for all triangles of the mesh; what it leaves open is settled by
    // the triangle's own.
    BoundedTriangle(const SurfaceMesh& mesh, std::int32_t triangle,
                    const margins::DistanceSlack& largestSlack)
        : a_(mesh.corner(triangle, 0)), b_(mesh.corner(triangle, 1)), c_(mesh.corner(triangle, 2)),
          largestSlack_(largestSlack) {}

    // Whether Ball::radius + tolerance is above the distance from its centre to the triangle.
    Range inRange(const Ball& ball) const;

    // Whether the triangle is in range for sure because `corner`, one of its corners, lies in the ball.
    bool inRangeByCorner(const Vec3& corner, const Ball& ball) const {
        const double distance2 = cadis(corner, ball.centre);
        return cornerSettles(distance2, ball, largestSlack_.at(ball.offset)) ||
               (!largestSlack_.isBound() && cornerSettles(distance2, ball, ownSlack(ball)));
    }

    // A lower bound of the distance from a point to the triangle, as the exact test gives it.
    double distanceBelow(const Vec3& point, double tolerance) const;

private:
    margins::DistanceSlack ownSlack(const Ball& ball) const {
        return margins::distanceSlack(TriangleShape(a_, b_, c_), ball.offset, ball.tolerance);
    }
    Range inRange(const Ball& ball, const margins::DistanceSlack& slack) const;

    static bool cornerSettles(double distance2, const Ball& ball, const margins::DistanceSlack& slack) {
        const double inner = ball.clearlyWithin - slack.sum();
        if (inner > 0.0 && distance2 < inner * inner)
            return true;
        const double outer = ball.radius + margins::CORNER_SHARE * ball.tolerance;
        return distance2 < outer * outer &&
               margins::cornersSettleRange(ball.radius, ball.tolerance, slack.rounding);
    }

    Vec3 a_, b_, c_;
    margins::DistanceSlack largestSlack_;
};

} // namespace drape
