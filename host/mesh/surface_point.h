// The point of a surface nearest to a point in space.
#pragma once

#include "host/mesh/triangle_mesh.h"

namespace drape::host {

struct SurfacePoint {
    Point position{};
    std::size_t triangle = 0; // 0-based
    double distance = 0.0;    // from the point asked for, in the mesh's unit
};

// The point of one triangle nearest to `point`.
SurfacePoint nearestOnTriangle(const TriangleMesh& mesh, std::size_t triangle, const Point& point);

// The nearest of the points on several triangles that are offered one after the other. A point over an edge
// is as near to two triangles but for rounding; the first of them has it, so that a point that was moved onto
// the surface stays where it is, and in its triangle, when it's looked up again.
class NearestOfMany {
public:
    explicit NearestOfMany(const Point& point);

    void offer(const SurfacePoint& candidate);

    // Triangles farther off than this can be left out.
    double distance() const { return best_.distance; }
    SurfacePoint best() const;

private:
    Point point_;
    double slack_;
    SurfacePoint best_;
};

// Tries every triangle; for many points at once there is the surface tree.
SurfacePoint nearestSurfacePoint(const TriangleMesh& mesh, const Point& point);

// Unit normal of a triangle, in the sense of its winding; zero without area.
Point normalOf(const TriangleMesh& mesh, std::size_t triangle);

// Mean of a triangle's corners.
Point centreOf(const TriangleMesh& mesh, std::size_t triangle);

// Of all triangles, in the mesh's unit squared.
double areaOf(const TriangleMesh& mesh);

// Mean of the surface, each part weighing by its area; not a number if it has none.
Point centroidOf(const TriangleMesh& mesh);

} // namespace drape::host
