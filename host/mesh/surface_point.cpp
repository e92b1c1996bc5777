// Sums over all triangles, in their order.
#include "host/mesh/surface_point.h"

#include "host/mesh/nearest_point.h"
#include "host/mesh/point.h"

#include <limits>

namespace drape::host {

using namespace vec;

namespace {

constexpr double rounding = 1e-12; // of coordinates, in a point that was moved onto a surface

} // namespace

SurfacePoint nearestOnTriangle(const TriangleMesh& mesh, std::size_t triangle, const Point& point) {
    const Point q = nearestOnTriangle(mesh.corner(triangle, 0), mesh.corner(triangle, 1),
                                      mesh.corner(triangle, 2), point);
    return {q, triangle, distance(q, point)};
}

NearestOfMany::NearestOfMany(const Point& point) : point_(point), slack_(rounding * length(point)) {
    best_.distance = std::numeric_limits<double>::infinity();
}

void NearestOfMany::offer(const SurfacePoint& candidate) {
    if (candidate.distance < best_.distance - slack_) {
        best_ = candidate;
    }
}

SurfacePoint NearestOfMany::best() const {
    SurfacePoint best = best_;
    if (best.distance <= slack_) {
        best.position = point_;
    }
    return best;
}

SurfacePoint nearestSurfacePoint(const TriangleMesh& mesh, const Point& point) {
    NearestOfMany nearest(point);
    for (std::size_t t = 0; t < mesh.triangles.size(); ++t) {
        nearest.offer(nearestOnTriangle(mesh, t, point));
    }
    return nearest.best();
}

Point normalOf(const TriangleMesh& mesh, std::size_t triangle) {
    const Point& a = mesh.corner(triangle, 0);
    return unit(cross(mesh.corner(triangle, 1) - a, mesh.corner(triangle, 2) - a));
}

Point centreOf(const TriangleMesh& mesh, std::size_t triangle) {
    return (1.0 / 3.0) * (mesh.corner(triangle, 0) + mesh.corner(triangle, 1) + mesh.corner(triangle, 2));
}

double areaOf(const TriangleMesh& mesh) {
    double sum = 0.0;
    for (std::size_t t = 0; t < mesh.triangles.size(); ++t) {
        sum += areaOf(mesh.corner(t, 0), mesh.corner(t, 1), mesh.corner(t, 2));
    }
    return sum;
}

Point centroidOf(const TriangleMesh& mesh) {
    Point sum{};
    double weight = 0.0;
    for (std::size_t t = 0; t < mesh.triangles.size(); ++t) {
        const double area = areaOf(mesh.corner(t, 0), mesh.corner(t, 1), mesh.corner(t, 2));
        sum = sum + area * centreOf(mesh, t);
        weight += area;
    }
    return (1.0 / weight) * sum;
}

} // namespace drape::host
