// What the corners, a plane, or the plain distance settle before the exact distance.
#include "surface/triangle_bounds.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace drape {
namespace {

// Squared distance from p to the segment that leaves `a` along `ab`, with `ap` from a to p.
double squaredDistanceToEdge(const Vec3& ap, const Vec3& ab) {
    const double along = prosca(ap, ab);
    const double length2 = vor(ab);
    if (along <= 0.0)
        return vor(ap);
    if (along >= length2)
        return vor(ap - ab);
    return vor(parvis(ap, ab)) / length2;
}

// Squared distance from a point to a triangle, by the region in which its foot lies (after Ericson, Real-Time
// Collision Detection, 2005, section 5.1.5).
double squaredDistance(const Vec3& p, const Vec3& a, const Vec3& b, const Vec3& c) {
    const Vec3 ab = b - a;
    const Vec3 bc = c - b;
    const Vec3 ca = a - c;
    const Vec3 ap = p - a;
    const Vec3 bp = p - b;
    const Vec3 cp = p - c;
    const Vec3 normal = parvis(ab, bc);
    const bool beyondAB = prosca(parvis(ab, ap), normal) < 0.0;
    const bool beyondBC = prosca(parvis(bc, bp), normal) < 0.0;
    const bool beyondCA = prosca(parvis(ca, cp), normal) < 0.0;
    if (!beyondAB && !beyondBC && !beyondCA) {
        const double height = prosca(ap, normal);
        return height * height / vor(normal);
    }
    double nearest = std::numeric_limits<double>::infinity();
    if (beyondAB)
        nearest = std::min(nearest, squaredDistanceToEdge(ap, ab));
    if (beyondBC)
        nearest = std::min(nearest, squaredDistanceToEdge(bp, bc));
    if (beyondCA)
        nearest = std::min(nearest, squaredDistanceToEdge(cp, ca));
    return nearest;
}

} // namespace

Range BoundedTriangle::inRange(const Ball& ball, const RangeLimits& limits) const {
    const Vec3 a = a_ - ball.centre;
    const Vec3 b = b_ - ball.centre;
    const Vec3 c = c_ - ball.centre;
    // A corner within the ball settles it, and so does a plane between the ball and all corners.
    if (std::min(vor(a), std::min(vor(b), vor(c))) < limits.corner2)
        return Range::in;
    const Vec3 across = a + b + c;
    const double nearest = std::min(prosca(a, across), std::min(prosca(b, across), prosca(c, across)));
    const double beyond2 = limits.beyond * limits.beyond;
    if (nearest > 0.0 && nearest * nearest > beyond2 * vor(across))
        return Range::out;
    const double distance2 = squaredDistance(ball.centre, a_, b_, c_);
    if (distance2 < limits.within2)
        return Range::in;
    return distance2 > beyond2 ? Range::out : Range::unknown;
}

Range BoundedTriangle::inRange(const Ball& ball) const {
    const Range range = ball.limits.bounded ? inRange(ball, ball.limits) : Range::unknown;
    return range == Range::unknown ? inRange(ball, ownLimits(ball)) : range;
}

double BoundedTriangle::distance(const Vec3& point) const {
    return std::sqrt(squaredDistance(point, a_, b_, c_));
}

double BoundedTriangle::distanceBelow(const Vec3& point, double tolerance) const {
    const double offset = margins::largestCoordinate(point);
    return margins::distanceBelow(distance(point)) -
           margins::distanceSlack(TriangleShape(a_, b_, c_), offset, tolerance).sum();
}

} // namespace drape
