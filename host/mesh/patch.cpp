// A wave front that runs over the triangles: a vertex gets its distance from two neighbours by laying the
// triangle flat with the point that the two distances speak of, so the front crosses triangles straight and
// doesn't follow the edges.
#include "host/mesh/patch.h"

#include "host/mesh/fans.h"
#include "host/mesh/point.h"
#include "host/mesh/topology.h"

#include <algorithm>
#include <limits>
#include <queue>

namespace drape::host {

using namespace vec;

namespace {

constexpr double unreached = std::numeric_limits<double>::infinity();

// Distance at c through the triangle a, b, c whose a and b have the distances da and db.
double acrossTriangle(const Point& a, const Point& b, const Point& c, double da, double db) {
    const double base = distance(a, b);
    const double alongEdges = std::min(da + distance(a, c), db + distance(b, c));
    if (!(base > 0.0) || da == unreached || db == unreached) {
        return alongEdges;
    }
    const Point axis = unit(b - a);
    const double cx = dot(c - a, axis);
    const double cy = std::sqrt(std::max(0.0, dot(c - a, c - a) - cx * cx));
    const double sx = (da * da - db * db + base * base) / (2.0 * base);
    const double square = da * da - sx * sx;
    if (square < 0.0 || !(cy > 0.0)) {
        return alongEdges;
    }
    const double sy = -std::sqrt(square);
    const double crossing = sx + (cx - sx) * (-sy / (cy - sy));
    if (crossing < 0.0 || crossing > base) {
        return alongEdges;
    }
    return std::min(alongEdges, std::hypot(cx - sx, cy - sy));
}

using Start = std::pair<std::int32_t, double>; // vertex and its distance

std::vector<double> runFront(const TriangleMesh& mesh, const std::vector<Start>& starts, double farthest) {
    const Fans fans = fansOf(mesh);
    std::vector<double> reached(mesh.positions.size(), unreached);
    using Step = std::pair<double, std::size_t>;
    std::priority_queue<Step, std::vector<Step>, std::greater<>> open;
    const auto improve = [&](std::size_t v, double d) {
        if (d < reached[v]) {
            reached[v] = d;
            open.emplace(d, v);
        }
    };
    for (const auto& [vertex, d] : starts) {
        improve(static_cast<std::size_t>(vertex), d);
    }
    while (!open.empty()) {
        const auto [d, v] = open.top();
        open.pop();
        if (d > farthest) {
            break;
        }
        if (d > reached[v]) {
            continue;
        }
        for (const std::int32_t number : fans.around(v)) {
            const Triangle& t = mesh.triangles[at(number)];
            for (std::size_t k = 0; k < 3; ++k) {
                const std::size_t a = at(t[(k + 1) % 3]);
                const std::size_t b = at(t[(k + 2) % 3]);
                const std::size_t c = at(t[k]);
                if (c != v) {
                    improve(c, acrossTriangle(mesh.positions[a], mesh.positions[b], mesh.positions[c],
                                              reached[a], reached[b]));
                }
            }
        }
    }
    return reached;
}

} // namespace

std::vector<double> distancesAlong(const TriangleMesh& mesh, const SurfacePoint& from, double farthest) {
    std::vector<Start> starts;
    for (const std::int32_t v : mesh.triangles[from.triangle]) {
        starts.emplace_back(v, distance(mesh.positions[static_cast<std::size_t>(v)], from.position));
    }
    return runFront(mesh, starts, farthest);
}

std::vector<double> distancesAlong(const TriangleMesh& mesh, const std::vector<std::int32_t>& from) {
    std::vector<Start> starts;
    for (const std::int32_t v : from) {
        starts.emplace_back(v, 0.0);
    }
    return runFront(mesh, starts, unreached);
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
