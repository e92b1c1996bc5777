// An edge that two cells run through in opposite directions lies inside the cloth; what is left over are the
// edges of the outline. A repair leaves several nodes at one place of the cloth; they count as one here, so
// that cloth that was doubled only to carry two fronts isn't shown as cut.
#include "host/cloth/cloth_lines.h"

#include "host/cloth/grid.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <tuple>

namespace drape::host {
namespace {

using Edge = std::pair<std::int32_t, std::int32_t>;

// For each node, the lowest node with the same grid coordinates at the same point of space.
std::vector<std::int32_t> placeOfNodes(const Grid& grid) {
    std::vector<std::int32_t> order(static_cast<std::size_t>(grid.count));
    for (std::int32_t node = 0; node < grid.count; ++node) {
        order[static_cast<std::size_t>(node)] = node;
    }
    const auto place = [&](std::int32_t node) {
        const auto at = static_cast<std::size_t>(node);
        const Point p = nodePosition(grid, node);
        return std::tuple(grid.i[at], grid.j[at], p[0], p[1], p[2]);
    };
    std::sort(order.begin(), order.end(), [&](std::int32_t a, std::int32_t b) {
        return std::tuple_cat(place(a), std::tuple(a)) < std::tuple_cat(place(b), std::tuple(b));
    });
    std::vector<std::int32_t> places(order.size());
    for (std::size_t k = 0; k < order.size(); ++k) {
        const bool same = k > 0 && place(order[k]) == place(order[k - 1]);
        places[static_cast<std::size_t>(order[k])] =
            same ? places[static_cast<std::size_t>(order[k - 1])] : order[k];
    }
    return places;
}

// The edges of the outline, each as often as it counts, sorted by their first node.
std::vector<Edge> outlineEdges(const Grid& grid, const std::vector<Cell>& cells) {
    struct Side {
        std::int32_t low, high, forward;
    };
    const auto places = placeOfNodes(grid);
    std::vector<Side> sides;
    for (const Cell& cell : cells) {
        for (std::size_t k = 0; cell.onSurface && k < 4; ++k) {
            const std::int32_t from = places[static_cast<std::size_t>(cell.nodes[k])];
            const std::int32_t to = places[static_cast<std::size_t>(cell.nodes[(k + 1) % 4])];
            sides.push_back({std::min(from, to), std::max(from, to), from < to ? 1 : -1});
        }
    }
    std::sort(sides.begin(), sides.end(),
              [](const Side& a, const Side& b) { return std::tie(a.low, a.high) < std::tie(b.low, b.high); });
    std::vector<Edge> edges;
    for (std::size_t k = 0; k < sides.size();) {
        const Side& side = sides[k];
        std::int32_t net = 0;
        for (; k < sides.size() && sides[k].low == side.low && sides[k].high == side.high; ++k) {
            net += sides[k].forward;
        }
        const Edge edge = net > 0 ? Edge{side.low, side.high} : Edge{side.high, side.low};
        edges.insert(edges.end(), side.low == side.high ? 0U : static_cast<std::size_t>(std::abs(net)), edge);
    }
    std::sort(edges.begin(), edges.end());
    return edges;
}

// Turn from the edge a-b to the edge b-c on the flat pattern, to the left above 0; turning back comes last.
double leftTurn(const Grid& grid, std::int32_t a, std::int32_t b, std::int32_t c) {
    const auto pa = nodeFlat(grid, a);
    const auto pb = nodeFlat(grid, b);
    const auto pc = nodeFlat(grid, c);
    const double ux = pb[0] - pa[0];
    const double uy = pb[1] - pa[1];
    const double vx = pc[0] - pb[0];
    const double vy = pc[1] - pb[1];
    const double turn = std::atan2(ux * vy - uy * vx, ux * vx + uy * vy);
    return turn > 0.99 * std::numbers::pi ? -turn : turn;
}

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

    // The unused edge from `node` with the highest `rank` of its far end, or size() if there is none.
    template <class Rank>
    std::size_t bestFrom(std::int32_t node, Rank rank) const {
        std::size_t best = size();
        double bestRank = 0.0;
        const auto first = std::lower_bound(edges_.begin(), edges_.end(), Edge{node, 0});
        for (auto at = static_cast<std::size_t>(first - edges_.begin());
             at < size() && edges_[at].first == node; ++at) {
            const double value = used_[at] ? 0.0 : rank(edges_[at].second);
            if (!used_[at] && (best == size() || value > bestRank)) {
                best = at;
                bestRank = value;
            }
        }
        return best;
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

std::vector<NodeChain> outlineLoops(const Grid& grid, const std::vector<Cell>& cells) {
    EdgePool pool(outlineEdges(grid, cells));
    std::vector<NodeChain> loops;
    for (std::size_t start = 0; start < pool.size(); ++start) {
        if (pool.used(start)) {
            continue;
        }
        Edge edge = pool.take(start);
        NodeChain loop{edge.first};
        while (edge.second != loop.front()) {
            loop.push_back(edge.second);
            const std::size_t next = pool.bestFrom(
                edge.second, [&](std::int32_t to) { return leftTurn(grid, edge.first, edge.second, to); });
            if (next == pool.size()) {
                break;
            }
            edge = pool.take(next);
        }
        loops.push_back(std::move(loop));
    }
    return loops;
}

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
            for (std::size_t at = start; at < pool.size();
                 at = pool.bestFrom(
                     line.back(), [](std::int32_t) { return 0.0; })) {
                line.push_back(pool.take(at).second);
            }
            lines.push_back(std::move(line));
        }
    }
    return lines;
}

} // namespace drape::host
