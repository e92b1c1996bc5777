// A surface made ready for the library: the arrays that a run takes, with the outline flagged, and what every
// drape of it asks for again and again, worked out once.
#pragma once

#include "host/cloth/mould_edges.h"
#include "host/mesh/boundary_loops.h"
#include "host/mesh/surface_point.h"
#include "host/mesh/triangle_mesh.h"

#include <algorithm>

namespace drape::host {

// What is fixed about a triangle.
struct Facet {
    Point centroid{};
    Point normal{};     // of unit length, in the sense of the winding; zero without area
    double area = 0.0;  // in the mesh's unit squared
    double reach = 0.0; // from the centroid to the farthest corner, at least
};

// A sphere around some facets that stand one after the other.
struct FacetGroup {
    Point middle{};
    double reach = 0.0;
};
constexpr std::size_t facetsPerGroup = 64; // but for the last

// Vertex and triangle numbers are 0-based here; the int32 arrays that go to the library (`corners`,
// `fanStart`, `fan`) hold what its header asks for. It never changes once it is made, so threads may share
// it.
struct Mould {
    std::vector<Point> positions;
    std::vector<std::int32_t> corners;     // 3 per triangle, 1-based vertices
    std::vector<std::int32_t> fanStart;    // per vertex, entries of `fan` before its own
    std::vector<std::int32_t> fan;         // triangles around each vertex, 1-based
    std::vector<std::int32_t> flagged;     // per vertex, 1 on the boundary loop that the library walks
    std::vector<std::int32_t> sourceFaces; // per triangle, its 1-based face in the file, 0 if not from it
    std::vector<Loop> loops;        // the one walked first; none on a closed surface, which can't be draped
    std::vector<Facet> facets;      // per triangle
    std::vector<FacetGroup> groups; // of these
    MouldEdges edges;               // who lies beside whom, and the edges at which the mould ends
    double area = 0.0;              // in the mesh's unit squared

    std::size_t triangleCount() const { return facets.size(); }
    const Point& corner(std::size_t triangle, std::size_t k) const {
        return positions[at(corners[3 * triangle + k]) - 1];
    }
};

// Of the triangle with these corners, in the sense in which they are named.
Facet facetOf(const Point& a, const Point& b, const Point& c);

// The mesh must be manifold and of one piece.
Mould mouldOf(Sheet sheet);
Mould mouldOf(TriangleMesh mesh);

// Throws InputError (closed) if the mould has no boundary for cloth to end at.
void requireEdge(const Mould& mould);

// The point of the mould nearest to `point`; of several triangles as near, on the first.
SurfacePoint nearestPoint(const Mould& mould, const Point& point);

// Calls `use` with each triangle that can come within a distance of `point`, in their order, and with some
// that don't. `distance` is asked for it anew before each, as it may shrink on the way.
template <class Distance, class Use>
void eachTriangleNear(const Mould& mould, const Point& point, Distance distance, Use use) {
    constexpr double slack = 1.0 + 1e-9; // far above rounding, so that no triangle is passed over wrongly
    const auto isNear = [&](const Point& middle, double reach) {
        const Point away = vec::subtract(point, middle);
        const double farthest = slack * (distance() + reach);
        return vec::dot(away, away) <= farthest * farthest;
    };
    for (std::size_t g = 0; g < mould.groups.size(); ++g) {
        if (isNear(mould.groups[g].middle, mould.groups[g].reach)) {
            const std::size_t end = std::min((g + 1) * facetsPerGroup, mould.triangleCount());
            for (std::size_t t = g * facetsPerGroup; t < end; ++t) {
                if (isNear(mould.facets[t].centroid, mould.facets[t].reach)) {
                    use(t);
                }
            }
        }
    }
}

} // namespace drape::host
