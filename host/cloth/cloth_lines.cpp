// A chain goes on from node to node along the sides of cells; it begins at nodes that no side leads to.
#include "host/cloth/cloth_lines.h"

#include "host/cloth/grid.h"

#include <algorithm>

namespace drape::host {
namespace {

using Edge = std::pair<std::int32_t, std::int32_t>;

// Edges sorted by their first node, handed out once each.
class EdgePool {
public:
    explicit EdgePool(std::vector<Edge> edges) : edges_(std::move(edges)), used_(edges_.size(), false) {}

    std::size_t size() const { return edges_.size(); }
    bool used(std::size_t index) const { return used_[index]; }
    const Edge& edge(std::size_t index) const { return edges_[index]; }
    const Edge& take(std::size_t index) {
        used_[index] = true;
        return edges_[index];
    }

    // The first unused edge from `node`, or size() if there is none.
    std::size_t firstFrom(std::int32_t node) const {
        const auto first = std::lower_bound(edges_.begin(), edges_.end(), Edge{node, 0});
        for (auto at = static_cast<std::size_t>(first - edges_.begin());
             at < size() && edges_[at].first == node; ++at) {
            if (!used_[at]) {
                return at;
            }
        }
        return size();
    }

private:
    std::vector<Edge> edges_;
    std::vector<bool> used_;
};

// Edges of one fibre family, in the direction of the fibre.
std::vector<Edge> fibreEdges(const Grid& grid, const std::vector<Cell>& cells, Fibre fibre,
                             std::int32_t every) {
    const bool warp = fibre == Fibre::warp;
    std::vector<Edge> edges;
    for (const Cell& cell : cells) {
        const auto& n = cell.nodes;
        for (const Edge& edge : {Edge{n[0], warp ? n[1] : n[3]}, Edge{warp ? n[3] : n[1], n[2]}}) {
            const auto at = static_cast<std::size_t>(edge.first);
            if (cell.onSurface && (warp ? grid.j[at] : grid.i[at]) % every == 0) {
                edges.push_back(edge);
            }
        }
    }
    std::sort(edges.begin(), edges.end());
    edges.erase(std::unique(edges.begin(), edges.end()), edges.end());
    return edges;
}

} // namespace

std::vector<NodeChain> fibreLines(const Grid& grid, const std::vector<Cell>& cells, Fibre fibre,
                                  std::int32_t every) {
    std::vector<Edge> edges = fibreEdges(grid, cells, fibre, every);
    std::vector<bool> entered(static_cast<std::size_t>(grid.count), false);
    for (const Edge& edge : edges) {
        entered[static_cast<std::size_t>(edge.second)] = true;
    }
    EdgePool pool(std::move(edges));
    std::vector<NodeChain> lines;
    for (const bool fromEnds : {true, false}) {
        for (std::size_t start = 0; start < pool.size(); ++start) {
            if (pool.used(start)) {
                continue;
            }
            const std::int32_t first = pool.edge(start).first;
            if (fromEnds && entered[static_cast<std::size_t>(first)]) {
                continue;
            }
            NodeChain line{first};
            for (std::size_t at = start; at < pool.size(); at = pool.firstFrom(line.back())) {
                line.push_back(pool.take(at).second);
            }
            lines.push_back(std::move(line));
        }
    }
    return lines;
}

} // namespace drape::host
