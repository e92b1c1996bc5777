// On a manifold mould one boundary edge at most starts at a vertex.
#include "host/cloth/mould_edges.h"

namespace drape::host {

MouldEdges edgesOf(const TriangleMesh& mesh, Neighbours neighbours) {
    MouldEdges edges{std::move(neighbours), {}};
    std::vector<std::int32_t> leaving(mesh.positions.size(), -1);
    for (std::size_t t = 0; t < mesh.triangles.size(); ++t) {
        for (std::size_t k = 0; k < 3; ++k) {
            std::int32_t& beyond = edges.beyond[t][k];
            if (beyond == noTriangle) {
                const auto edge = static_cast<std::int32_t>(edges.boundary.size());
                const std::int32_t from = mesh.triangles[t][k];
                beyond = -1 - edge;
                leaving[at(from)] = edge;
                edges.boundary.push_back(
                    {from, mesh.triangles[t][(k + 1) % 3], -1, static_cast<std::int32_t>(t)});
            }
        }
    }
    for (BoundaryEdge& edge : edges.boundary) {
        edge.next = leaving[at(edge.to)];
    }
    return edges;
}

} // namespace drape::host
