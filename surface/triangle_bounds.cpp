// Bounding spheres: how large the safety margins have to be.
#include "surface/triangle_bounds.h"

#include "surface/flatness.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace drape {
namespace {

// Rounding of the exact tests, in shares of the triangle's size and of its distance from the origin; both
// lie some thousand times above what double precision loses on a triangle that is no sliver.
constexpr double SIZE_MARGIN = 1e-9;
constexpr double OFFSET_MARGIN = 1e-13;
// Lengths outside this range can overflow or vanish when they are squared.
constexpr double LARGEST_LENGTH = 1e100;
constexpr double SMALLEST_LENGTH = 1e-100;

float roundedUp(double value) {
    return std::nextafter(static_cast<float>(value), std::numeric_limits<float>::infinity());
}

double largestCoordinate(const Vec3& v) {
    return std::max(std::fabs(v.x), std::max(std::fabs(v.y), std::fabs(v.z)));
}

// Squared distance from p to the segment that leaves `a` along `ab`, with `ap` from a to p.
double squaredDistanceToEdge(const Vec3& ap, const Vec3& ab) {
    const double along = prosca(ap, ab);
    const double length2 = vor(ab);
    if (along <= 0.0)
        return vor(ap);
    if (along >= length2)
        return vor(ap - ab);
    return vor(ap) - along * along / length2;
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

TriangleBounds::Sphere TriangleBounds::boundOf(const Vec3& a, const Vec3& b, const Vec3& c,
                                               double tolerance) {
    constexpr float endless = std::numeric_limits<float>::infinity();
    const Vec3 centre = (a + b + c) / 3.0;
    const TriangleShape shape(a, b, c);
    const double offset =
        std::max(largestCoordinate(a), std::max(largestCoordinate(b), largestCoordinate(c)));
    const bool bounded = !shape.isSliver() && shape.shortest > SMALLEST_LENGTH && offset < LARGEST_LENGTH &&
                         tolerance < LARGEST_LENGTH;
    if (!bounded)
        return {0.0, 0.0, 0.0, endless, endless};
    const double radius = std::sqrt(std::max(cadis(a, centre), std::max(cadis(b, centre), cadis(c, centre))));
    // An edge test lets a foot hang over a corner by tolerance / edge length.
    const double slack = tolerance / shape.shortest + SIZE_MARGIN * radius + OFFSET_MARGIN * offset;
    return {centre.x, centre.y, centre.z, roundedUp(radius * (1.0 + SIZE_MARGIN)), roundedUp(slack)};
}

bool TriangleBounds::build(const SurfaceMesh& mesh, double tolerance, std::int32_t& status) {
    if (!block_.take(4 * std::int64_t{mesh.triCount}, status))
        return false;
    mesh_ = &mesh;
    spheres_ = reinterpret_cast<Sphere*>(block_.data());
    for (std::int32_t t = 1; t <= mesh.triCount; ++t)
        spheres_[t - 1] = boundOf(mesh.corner(t, 0), mesh.corner(t, 1), mesh.corner(t, 2), tolerance);
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
    if (inner > 0.0 && nearest2 < inner * inner)
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
    return distance * (1.0 - Ball::RELATIVE_MARGIN) - static_cast<double>(s.radius) -
           static_cast<double>(s.slack);
}

} // namespace drape
