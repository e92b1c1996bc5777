// Long edges are halved, which leaves the surface as it is, so that values at the vertices say something
// about every place.
#include "host/cloth/ground.h"

#include "host/mesh/boundary_loops.h"
#include "host/mesh/edge_split.h"
#include "host/mesh/patch.h"
#include "host/mesh/point.h"

#include <algorithm>

namespace drape::host {

using namespace vec;

namespace {

constexpr double longestEdge = 0.7; // cells

void linkVertices(Ground& ground) {
    std::vector<std::pair<std::int32_t, std::int32_t>> links;
    links.reserve(6 * ground.mesh.triangles.size());
    for (const Triangle& t : ground.mesh.triangles) {
        for (std::size_t k = 0; k < 3; ++k) {
            links.emplace_back(t[k], t[(k + 1) % 3]);
            links.emplace_back(t[(k + 1) % 3], t[k]);
        }
    }
    std::sort(links.begin(), links.end());
    links.erase(std::unique(links.begin(), links.end()), links.end());
    ground.nextStart.assign(ground.mesh.positions.size() + 1, 0);
    for (const auto& [from, to] : links) {
        ++ground.nextStart[at(from) + 1];
        ground.next.push_back(to);
    }
    for (std::size_t v = 1; v < ground.nextStart.size(); ++v) {
        ground.nextStart[v] += ground.nextStart[v - 1];
    }
}

} // namespace

Ground groundOf(const TriangleMesh& mesh, double step) {
    Ground ground;
    ground.mesh = refined(mesh, longestEdge * step);
    const std::size_t count = ground.mesh.positions.size();
    linkVertices(ground);
    ground.normals.assign(count, Point{});
    ground.areas.assign(count, 0.0);
    for (std::size_t t = 0; t < ground.mesh.triangles.size(); ++t) {
        const Point& a = ground.mesh.corner(t, 0);
        const Point square = cross(ground.mesh.corner(t, 1) - a, ground.mesh.corner(t, 2) - a);
        for (const std::int32_t v : ground.mesh.triangles[t]) {
            ground.normals[at(v)] = ground.normals[at(v)] + square;
            ground.areas[at(v)] += length(square) / 6.0;
        }
        ground.area += 0.5 * length(square);
    }
    std::transform(ground.normals.begin(), ground.normals.end(), ground.normals.begin(), unit);
    std::vector<std::int32_t> rim;
    for (const Loop& loop : boundaryLoops(ground.mesh)) {
        rim.insert(rim.end(), loop.vertices.begin(), loop.vertices.end());
    }
    for (const double d : distancesAlong(ground.mesh, rim)) {
        ground.nearRim.push_back(d <= step ? 1 : 0);
    }
    return ground;
}

} // namespace drape::host
