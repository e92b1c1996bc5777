// Bounding spheres: what a sphere, or the corners, settle before the exact distance.
#include "surface/triangle_bounds.h"

#include "surface/box.h"

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

bool TriangleBounds::begin(const SurfaceMesh& mesh, double tolerance, std::int32_t& status) {
    if (!block_.take(4 * std::int64_t{mesh.triCount}, status))
        return false;
    mesh_ = &mesh;
    tolerance_ = tolerance;
    largestRounding_ = 0.0;
    spheres_ = reinterpret_cast<Sphere*>(block_.data());
    return true;
}

void TriangleBounds::put(std::int32_t triangle, const MeasuredTriangle& t) {
    const Vec3 centre = (1.0 / 3.0) * (t.a + t.b + t.c);
    const double offset =
        std::max(margins::largestCoordinate(t.a),
                 std::max(margins::largestCoordinate(t.b), margins::largestCoordinate(t.c)));
    const double slack = margins::distanceSlack(t.shape, offset, tolerance_);
    if (!(slack < margins::ENDLESS)) {
        constexpr float endless = std::numeric_limits<float>::infinity();
        spheres_[triangle - 1] = {0.0, 0.0, 0.0, endless, endless};
        return;
    }
    largestRounding_ =
        std::max(largestRounding_, margins::distanceRounding(t.shape, offset, tolerance_ / t.shape.shortest));
    const double radius =
        std::sqrt(std::max(cadis(t.a, centre), std::max(cadis(t.b, centre), cadis(t.c, centre))));
    spheres_[triangle - 1] = {centre.x, centre.y, centre.z, roundedUp(radius), roundedUp(slack)};
}

bool TriangleBounds::build(const SurfaceMesh& mesh, double tolerance, std::int32_t& status) {
    if (!begin(mesh, tolerance, status))
        return false;
    for (std::int32_t t = 1; t <= mesh.triCount; ++t)
        put(t, MeasuredTriangle(mesh, t));
    return true;
}

Range TriangleBounds::inRangeByCorners(std::int32_t triangle, const Ball& ball) const {
    const Sphere& s = spheres_[triangle - 1];
    const double inner = ball.clearlyWithin - static_cast<double>(s.slack);
    const double outer = ball.clearlyBeyond + static_cast<double>(s.slack);
    const Vec3 corners[] = {mesh_->corner(triangle, 0), mesh_->corner(triangle, 1),
                            mesh_->corner(triangle, 2)};
    // A corner within the ball settles it, and so does a plane between the ball and all corners.
    const Vec3 across = Vec3{s.x, s.y, s.z} - ball.centre;
    double nearest2 = std::numeric_limits<double>::infinity();
    double nearestAcross = std::numeric_limits<double>::infinity();
    for (const Vec3& corner : corners) {
        const Vec3 toCorner = corner - ball.centre;
        nearest2 = std::min(nearest2, vor(toCorner));
        nearestAcross = std::min(nearestAcross, prosca(toCorner, across));
    }
    if (cornerSettles(s, nearest2, ball))
        return Range::in;
    if (nearestAcross > 0.0 && nearestAcross * nearestAcross > outer * outer * vor(across))
        return Range::out;
    const double distance2 = squaredDistance(ball.centre, corners[0], corners[1], corners[2]);
    if (inner > 0.0 && distance2 < inner * inner)
        return Range::in;
    return distance2 > outer * outer ? Range::out : Range::unknown;
}

double TriangleBounds::distanceBelow(std::int32_t triangle, const Vec3& point) const {
    const Sphere& s = spheres_[triangle - 1];
    const double distance = std::sqrt(cadis(point, {s.x, s.y, s.z}));
    return margins::distanceBelow(distance) - static_cast<double>(s.radius) - static_cast<double>(s.slack);
}

} // namespace drape
