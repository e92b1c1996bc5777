// On a manifold mould the neighbour over an edge is in the fan of either of its vertices.
#include "host/cloth/mould_edges.h"

namespace drape::host {
namespace {

// The triangle that runs through the edge from `b` to `a`, 0-based vertices, or -1.
std::int32_t triangleAcross(const Mould& mould, std::int32_t a, std::int32_t b) {
    const std::size_t end =
        at(a) + 1 < mould.fanStart.size() ? at(mould.fanStart[at(a) + 1]) : mould.fan.size();
    for (std::size_t f = at(mould.fanStart[at(a)]); f < end; ++f) {
        const std::size_t t = at(mould.fan[f]) - 1;
        for (std::size_t k = 0; k < 3; ++k) {
            if (mould.corners[3 * t + k] == b + 1 && mould.corners[3 * t + (k + 1) % 3] == a + 1) {
                return static_cast<std::int32_t>(t);
            }
        }
    }
    return -1;
}

} // namespace

MouldEdges edgesOf(const Mould& mould) {
    MouldEdges edges;
    edges.beyond.resize(mould.triangleCount());
    std::vector<std::int32_t> leaving(mould.positions.size(), -1);
    for (std::size_t t = 0; t < mould.triangleCount(); ++t) {
        for (std::size_t k = 0; k < 3; ++k) {
            const std::int32_t from = mould.corners[3 * t + k] - 1;
            const std::int32_t to = mould.corners[3 * t + (k + 1) % 3] - 1;
            std::int32_t& beyond = edges.beyond[t][k];
            beyond = triangleAcross(mould, from, to);
            if (beyond < 0) {
                const auto edge = static_cast<std::int32_t>(edges.boundary.size());
                beyond = -1 - edge;
                leaving[at(from)] = edge;
                edges.boundary.push_back({from, to, -1, static_cast<std::int32_t>(t)});
            }
        }
    }
    for (BoundaryEdge& edge : edges.boundary) {
        edge.next = leaving[at(edge.to)];
    }
    return edges;
}

} // namespace drape::host
