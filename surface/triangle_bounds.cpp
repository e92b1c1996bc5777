// What the corners, a plane, or the plain distance settle before the exact distance.
#include "surface/triangle_bounds.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace drape {
namespace {

// Squared distance from p to the segment that leaves `a` along `ab`, with `ap` from a to p.
template <class Real>
Real squaredDistanceToEdge(const VecOf<Real>& ap, const VecOf<Real>& ab) {
    const Real along = prosca(ap, ab);
    const Real length2 = vor(ab);
    return choose(along <= Real{}, vor(ap),
                  choose(along >= length2, vor(ap - ab), vor(parvis(ap, ab)) / length2));
}

// Squared distance from a point to a triangle, by the region in which its foot lies (after Ericson, Real-Time
// Collision Detection, 2005, section 5.1.5).
template <class Real>
Real squaredDistance(const VecOf<Real>& p, const VecOf<Real>& a, const VecOf<Real>& b, const VecOf<Real>& c) {
    const VecOf<Real> ab = b - a, bc = c - b, ca = a - c;
    const VecOf<Real> ap = p - a, bp = p - b, cp = p - c;
    const VecOf<Real> normal = parvis(ab, bc);
    const Real endless = std::numeric_limits<double>::infinity() + Real{};
    const auto beyond = [&](const VecOf<Real>& edge, const VecOf<Real>& fromStart) {
        const auto outside = prosca(parvis(edge, fromStart), normal) < Real{};
        return choose(outside, squaredDistanceToEdge(fromStart, edge), endless);
    };
    const Real nearest = smallerOf(beyond(ab, ap), smallerOf(beyond(bc, bp), beyond(ca, cp)));
    const Real height = prosca(ap, normal);
    return choose(nearest < endless, nearest, height * height / vor(normal));
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

DoublePair distancesOf(const Vec3& point, const BoundedTriangle& first, const BoundedTriangle& second) {
    return rootOf(squaredDistance(twice(point), pairOf(first.a(), second.a()), pairOf(first.b(), second.b()),
                                  pairOf(first.c(), second.c())));
}

double BoundedTriangle::distanceBelow(const Vec3& point, double tolerance) const {
    const double offset = margins::largestCoordinate(point);
    return margins::distanceBelow(std::sqrt(squaredDistance(point, a_, b_, c_))) -
           margins::distanceSlack(TriangleShape(a_, b_, c_), offset, tolerance).sum();
}

} // namespace drape
