// The library walks the boundary loop of its lowest flagged vertex and sees nothing of the others, so the
// longest loop alone is flagged. Edges between flagged vertices that two triangles share don't mislead it.
#include "host/cloth/mould.h"

#include "host/mesh/box.h"
#include "host/mesh/error.h"
#include "host/mesh/fans.h"
#include "host/mesh/nearest_point.h"

#include <limits>
#include <span>

namespace drape::host {

using namespace vec;

namespace {

std::vector<FacetGroup> groupsOf(const std::vector<Facet>& facets) {
    std::vector<FacetGroup> groups;
    for (std::size_t first = 0; first < facets.size(); first += facetsPerGroup) {
        const auto members =
            std::span(facets).subspan(first, std::min(facetsPerGroup, facets.size() - first));
        Box3 box;
        for (const Facet& facet : members) {
            box.add(facet.centroid);
        }
        FacetGroup group{mix(box.low, box.high, 0.5), 0.0};
        for (const Facet& facet : members) {
            group.reach = std::max(group.reach, distance(group.middle, facet.centroid) + facet.reach);
        }
        groups.push_back(group);
    }
    return groups;
}

std::vector<std::int32_t> countedFromOne(std::vector<std::int32_t> numbers) {
    for (std::int32_t& number : numbers) {
        ++number;
    }
    return numbers;
}

} // namespace

Facet facetOf(const Point& a, const Point& b, const Point& c) {
    const Point square = cross(b - a, c - a); // to the triangle, twice as long as its area
    Facet facet;
    facet.centroid = scale(a + (b + c), 1.0 / 3.0);
    const double twice = length(square);
    facet.normal = twice > 0.0 ? scale(square, 1.0 / twice) : square;
    facet.area = 0.5 * twice;
    constexpr double rounding = 1e-13; // of coordinates far from the origin
    const auto farOff = [&](const Point& p) { return dot(facet.centroid - p, facet.centroid - p); };
    facet.reach = std::sqrt(std::max({farOff(a), farOff(b), farOff(c)})) + rounding * length(facet.centroid);
    return facet;
}

Mould mouldOf(TriangleMesh mesh) {
    return mouldOf(Sheet{std::move(mesh), {}});
}

Mould mouldOf(Sheet sheet) {
    Mould mould;
    TriangleMesh& mesh = sheet.mesh;
    Neighbours neighbours =
        sheet.neighbours.empty() ? topologyOf(mesh).neighbours : std::move(sheet.neighbours);
    mould.loops = boundaryLoops(mesh, neighbours);
    mould.edges = edgesOf(mesh, std::move(neighbours));
    Fans fans = fansOf(mesh);
    fans.start.pop_back();
    mould.fanStart = std::move(fans.start);
    mould.fan = countedFromOne(std::move(fans.triangles));
    mould.corners.reserve(3 * mesh.triangles.size());
    mould.facets.reserve(mesh.triangles.size());
    for (std::size_t t = 0; t < mesh.triangles.size(); ++t) {
        for (const std::int32_t v : mesh.triangles[t]) {
            mould.corners.push_back(v + 1);
        }
        mould.facets.push_back(facetOf(mesh.corner(t, 0), mesh.corner(t, 1), mesh.corner(t, 2)));
        mould.area += mould.facets.back().area;
    }
    mould.groups = groupsOf(mould.facets);
    mould.positions = std::move(mesh.positions);
    mould.sourceFaces = std::move(mesh.sourceFaces);
    mould.flagged.assign(mould.positions.size(), 0);
    if (!mould.loops.empty()) {
        for (const std::int32_t v : mould.loops.front().vertices) {
            mould.flagged[at(v)] = 1;
        }
    }
    return mould;
}

void requireEdge(const Mould& mould) {
    if (mould.loops.empty()) {
        throw InputError("the surface is closed, and cloth needs an edge to end at", Refusal::closed);
    }
}

SurfacePoint nearestPoint(const Mould& mould, const Point& point) {
    // No nearest point lies beyond the far end of any group. Far more than `NearestOfMany` takes for equal is
    // added for each triangle, so that which of equally near ones comes first doesn't hang on those left out.
    constexpr double equal = 1e-11;
    double farthest = std::numeric_limits<double>::infinity();
    for (const FacetGroup& group : mould.groups) {
        farthest = std::min(farthest, distance(point, group.middle) + group.reach);
    }
    farthest += equal * static_cast<double>(mould.triangleCount()) * length(point);
    NearestOfMany nearest(point);
    eachTriangleNear(
        mould, point, [&] { return std::min(farthest, nearest.distance()); },
        [&](std::size_t t) {
            const Point q =
                nearestOnTriangle(mould.corner(t, 0), mould.corner(t, 1), mould.corner(t, 2), point);
            nearest.offer({q, t, distance(q, point)});
        });
    return nearest.best();
}

} // namespace drape::host
