// The patch grows from its triangle to neighbours whose corners are all near enough.
#include "host/mesh/patch.h"

#include "host/mesh/front.h"
#include "host/mesh/topology.h"

#include <algorithm>

namespace drape::host {

std::vector<double> distancesAlong(const TriangleMesh& mesh, const SurfacePoint& from) {
    return Front(mesh).distancesFrom(from);
}

std::vector<double> distancesAlong(const TriangleMesh& mesh, const std::vector<std::int32_t>& from) {
    return Front(mesh).distancesFrom(from);
}

TriangleMesh patchWithin(const TriangleMesh& mesh, const SurfacePoint& from,
                         const std::vector<double>& distances, double radius) {
    std::vector<char> near(mesh.triangles.size(), 0);
    for (std::size_t t = 0; t < near.size(); ++t) {
        near[t] = std::all_of(mesh.triangles[t].begin(), mesh.triangles[t].end(), [&](std::int32_t v) {
            return distances[static_cast<std::size_t>(v)] <= radius;
        });
    }
    near[from.triangle] = 1;
    const Neighbours neighbours = topologyOf(mesh).neighbours;
    std::vector<char> keep(near.size(), 0);
    std::vector<std::size_t> open{from.triangle};
    keep[from.triangle] = 1;
    while (!open.empty()) {
        const std::size_t t = open.back();
        open.pop_back();
        for (const std::int32_t u : neighbours[t]) {
            if (u != noTriangle && near[static_cast<std::size_t>(u)] != 0 &&
                keep[static_cast<std::size_t>(u)] == 0) {
                keep[static_cast<std::size_t>(u)] = 1;
                open.push_back(static_cast<std::size_t>(u));
            }
        }
    }
    return keptPart(mesh, keep);
}

} // namespace drape::host
