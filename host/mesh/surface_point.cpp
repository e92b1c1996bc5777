// The nearest point of a triangle is straight below the point, or else on one of the edges.
#include "host/mesh/surface_point.h"

#include "host/mesh/point.h"

#include <algorithm>
#include <limits>

namespace drape::host {

using namespace vec;

namespace {

Point nearestOnEdge(const Point& a, const Point& b, const Point& p) {
    const Point ab = b - a;
    const double square = dot(ab, ab);
    const double t = square > 0.0 ? std::clamp(dot(p - a, ab) / square, 0.0, 1.0) : 0.0;
    return mix(a, b, t);
}

Point nearestOf(const Point& a, const Point& b, const Point& c, const Point& p) {
    const Point n = cross(b - a, c - a);
    const bool inside = dot(cross(b - a, p - a), n) >= 0.0 && dot(cross(c - b, p - b), n) >= 0.0 &&
                        dot(cross(a - c, p - c), n) >= 0.0 && dot(n, n) > 0.0;
    if (inside) {
        return p - (dot(p - a, n) / dot(n, n)) * n;
    }
    Point best = nearestOnEdge(a, b, p);
    for (const Point& q : {nearestOnEdge(b, c, p), nearestOnEdge(c, a, p)}) {
        if (distance(q, p) < distance(best, p)) {
            best = q;
        }
    }
    return best;
}

} // namespace

SurfacePoint nearestOnTriangle(const TriangleMesh& mesh, std::size_t triangle, const Point& point) {
    const Point q =
        nearestOf(mesh.corner(triangle, 0), mesh.corner(triangle, 1), mesh.corner(triangle, 2), point);
    return {q, triangle, distance(q, point)};
}

// A point over an edge is as near to two triangles but for rounding; the first of them has it, so that a
// point that was moved onto the surface is found in the same triangle again.
SurfacePoint nearestSurfacePoint(const TriangleMesh& mesh, const Point& point) {
    constexpr double rounding = 1e-12;
    const double slack = rounding * length(point);
    SurfacePoint nearest;
    nearest.distance = std::numeric_limits<double>::infinity();
    for (std::size_t t = 0; t < mesh.triangles.size(); ++t) {
        const SurfacePoint found = nearestOnTriangle(mesh, t, point);
        if (found.distance < nearest.distance - slack) {
            nearest = found;
        }
    }
    if (nearest.distance <= slack) {
        nearest.position = point;
    }
    return nearest;
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
        sum += vec::areaOf(mesh.corner(t, 0), mesh.corner(t, 1), mesh.corner(t, 2));
    }
    return sum;
}

Point centroidOf(const TriangleMesh& mesh) {
    Point sum{};
    double weight = 0.0;
    for (std::size_t t = 0; t < mesh.triangles.size(); ++t) {
        const double area = vec::areaOf(mesh.corner(t, 0), mesh.corner(t, 1), mesh.corner(t, 2));
        sum = sum + area * centreOf(mesh, t);
        weight += area;
    }
    return (1.0 / weight) * sum;
}

} // namespace drape::host
