// The line is followed from triangle to triangle. Each edge that it crosses gets a vertex there; then the
// fans around these vertices are parted where they lie on different sides.
#include "host/mesh/slit.h"

#include "host/mesh/fans.h"
#include "host/mesh/surface_point.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>

namespace drape::host {

using namespace vec;

namespace {

constexpr double edgeEnd = 0.02;   // of an edge: the line keeps off its ends, so that it meets no vertex
constexpr double onSurface = 1e-3; // of a triangle's longest edge, that a tip may lie off it

using Edge = std::pair<std::int32_t, std::int32_t>; // vertices, the lower one first

Edge edgeOf(const Triangle& t, std::size_t k) {
    return std::minmax(t[k], t[(k + 1) % 3]);
}

// Where a slit's line crosses edges, from the tip on.
struct Crossing {
    Edge edge;
    double part = 0.0;
    Point place{};
};

// A line from its tip on. It starts at a vertex where the tip is one, else at the edge over which it leaves
// the tip's triangle.
struct Line {
    std::optional<std::int32_t> tipVertex;
    std::vector<Crossing> crossings;

    bool isNone() const { return crossings.empty(); }
};

class Walk {
public:
    Walk(const TriangleMesh& mesh, const Neighbours& neighbours, const SlitWay& way)
        : mesh_(mesh), neighbours_(neighbours), way_(way) {}

    // None where the way doesn't start on the surface, or comes back to its start.
    Line line() const {
        const SurfacePoint start = nearestSurfacePoint(mesh_, way_.tip);
        Line line{tipVertex(start), {}};
        std::optional<Side> out = line.tipVertex ? awayFrom(*line.tipVertex) : leaving(start);
        std::vector<char> seen(mesh_.triangles.size(), 0);
        double gone = 0.0;
        while (out) {
            line.crossings.push_back(crossingOf(*out));
            const std::size_t count = line.crossings.size();
            gone +=
                count > 1 ? distance(line.crossings[count - 1].place, line.crossings[count - 2].place) : 0.0;
            seen[out->triangle] = 1;
            const std::int32_t beyond = neighbours_[out->triangle][out->edge];
            if (beyond == noTriangle || gone > way_.farthest) {
                return count > 1 ? line : Line{};
            }
            out = seen[at(beyond)] != 0 ? std::nullopt : across(at(beyond), line.crossings.back().edge);
        }
        return {};
    }

private:
    struct Side {
        std::size_t triangle, edge;
    };

    double side(std::int32_t v) const { return dot(mesh_.positions[at(v)] - way_.tip, way_.normal); }

    bool isCrossed(const Side& s) const {
        const Edge edge = edgeOf(mesh_.triangles[s.triangle], s.edge);
        return (side(edge.first) < 0.0) != (side(edge.second) < 0.0);
    }

    Crossing crossingOf(const Side& s) const {
        const Edge edge = edgeOf(mesh_.triangles[s.triangle], s.edge);
        const double a = side(edge.first);
        const double part = std::clamp(a / (a - side(edge.second)), edgeEnd, 1.0 - edgeEnd);
        return {edge, part, mix(mesh_.positions[at(edge.first)], mesh_.positions[at(edge.second)], part)};
    }

    double ahead(const Side& s) const { return dot(crossingOf(s).place - way_.tip, way_.along); }

    double longestEdge(std::size_t t) const {
        double longest = 0.0;
        for (std::size_t k = 0; k < 3; ++k) {
            longest = std::max(longest, distance(mesh_.corner(t, k), mesh_.corner(t, (k + 1) % 3)));
        }
        return longest;
    }

    std::optional<std::int32_t> tipVertex(const SurfacePoint& start) const {
        for (const std::int32_t v : mesh_.triangles[start.triangle]) {
            if (distance(mesh_.positions[at(v)], way_.tip) <= onSurface * longestEdge(start.triangle)) {
                return v;
            }
        }
        return std::nullopt;
    }

    // The side opposite to a vertex that the line crosses first.
    std::optional<Side> awayFrom(std::int32_t vertex) const {
        for (std::size_t t = 0; t < mesh_.triangles.size(); ++t) {
            const Triangle& corners = mesh_.triangles[t];
            const auto corner = std::find(corners.begin(), corners.end(), vertex);
            if (corner != corners.end()) {
                const Side opposite{t, (static_cast<std::size_t>(corner - corners.begin()) + 1) % 3};
                if (isCrossed(opposite) && ahead(opposite) > 0.0) {
                    return opposite;
                }
            }
        }
        return std::nullopt;
    }

    // The side over which the line leaves the tip's triangle.
    std::optional<Side> leaving(const SurfacePoint& start) const {
        std::optional<Side> first;
        double farthest = 0.0;
        for (std::size_t k = 0; k < 3 && start.distance <= onSurface * longestEdge(start.triangle); ++k) {
            const Side s{start.triangle, k};
            if (isCrossed(s) && ahead(s) > farthest) {
                first = s;
                farthest = ahead(s);
            }
        }
        return first;
    }

    // The side over which the line leaves a triangle that it entered over `in`.
    std::optional<Side> across(std::size_t t, const Edge& in) const {
        for (std::size_t k = 0; k < 3; ++k) {
            if (isCrossed({t, k}) && edgeOf(mesh_.triangles[t], k) != in) {
                return Side{t, k};
            }
        }
        return std::nullopt;
    }

    const TriangleMesh& mesh_;
    const Neighbours& neighbours_;
    const SlitWay& way_;
};

std::vector<Point> placesOf(const Line& line, const TriangleMesh& mesh) {
    std::vector<Point> places;
    if (line.tipVertex) {
        places.push_back(mesh.positions[at(*line.tipVertex)]);
    }
    for (const Crossing& crossing : line.crossings) {
        places.push_back(crossing.place);
    }
    return places;
}

// Gives the triangles around a vertex that `slits` part from the first of them vertices of their own.
void partFan(TriangleMesh& mesh, const std::vector<std::int32_t>& fan, std::int32_t vertex,
             const std::set<Edge>& slits, std::vector<std::int32_t>& twins) {
    std::vector<std::int32_t> open(fan);
    for (bool isFirst = true; !open.empty(); isFirst = false) {
        std::vector<std::int32_t> together{open.front()};
        open.erase(open.begin());
        for (std::size_t n = 0; n < together.size(); ++n) {
            const Triangle& t = mesh.triangles[at(together[n])];
            for (std::size_t k = 0; k < 3; ++k) {
                const Edge edge = edgeOf(t, k);
                if ((edge.first != vertex && edge.second != vertex) || slits.count(edge) != 0) {
                    continue;
                }
                const auto joined = [&](std::int32_t other) {
                    return edgeBetween(mesh.triangles[at(other)], edge.first, edge.second) < 3;
                };
                for (auto next = std::find_if(open.begin(), open.end(), joined); next != open.end();
                     next = std::find_if(open.begin(), open.end(), joined)) {
                    together.push_back(*next);
                    open.erase(next);
                }
            }
        }
        if (!isFirst) {
            const auto own = static_cast<std::int32_t>(mesh.positions.size());
            mesh.positions.push_back(mesh.positions[at(vertex)]);
            twins.push_back(vertex);
            for (const std::int32_t t : together) {
                Triangle& corners = mesh.triangles[at(t)];
                std::replace(corners.begin(), corners.end(), vertex, own);
            }
        }
    }
}

// Of one way.
SlitMesh slitOnce(const TriangleMesh& mesh, const SlitWay& way) {
    const Line line = Walk(mesh, topologyOf(mesh).neighbours, way).line();
    if (line.isNone()) {
        return {mesh, {}, {{}}};
    }
    std::map<Edge, double> parts;
    for (const Crossing& crossing : line.crossings) {
        parts[crossing.edge] = crossing.part;
    }
    SplitMesh split = splitEdges(mesh, [&](std::int32_t low, std::int32_t high) -> std::optional<double> {
        const auto found = parts.find({low, high});
        return found == parts.end() ? std::nullopt : std::optional(found->second);
    });
    std::map<Edge, std::int32_t> vertexOn;
    for (std::size_t k = 0; k < split.added.size(); ++k) {
        vertexOn[{split.added[k].low, split.added[k].high}] =
            static_cast<std::int32_t>(mesh.positions.size() + k);
    }
    SlitMesh slit{std::move(split.mesh), std::move(split.added), {placesOf(line, mesh)}};
    std::vector<std::int32_t> chain;
    if (line.tipVertex) {
        chain.push_back(*line.tipVertex);
    }
    for (const Crossing& crossing : line.crossings) {
        chain.push_back(vertexOn.at(crossing.edge));
    }
    std::set<Edge> slits;
    for (std::size_t k = 0; k + 1 < chain.size(); ++k) {
        slits.insert(std::minmax(chain[k], chain[k + 1]));
    }
    const Fans fans = fansOf(slit.mesh);
    std::vector<std::int32_t> twins;
    for (const std::int32_t v : chain) {
        const auto fan = fans.around(at(v));
        partFan(slit.mesh, {fan.begin(), fan.end()}, v, slits, twins);
    }
    for (const std::int32_t v : twins) {
        const EdgePoint point = slit.added[at(v) - mesh.positions.size()];
        slit.added.push_back(point);
    }
    return slit;
}

} // namespace

SlitLines::SlitLines(const TriangleMesh& mesh) : mesh_(mesh), neighbours_(topologyOf(mesh).neighbours) {}

std::vector<Point> SlitLines::lineOf(const SlitWay& way) const {
    return placesOf(Walk(mesh_, neighbours_, way).line(), mesh_);
}

SlitMesh slitAlong(TriangleMesh mesh, std::span<const SlitWay> ways) {
    SlitMesh slit{std::move(mesh), {}, {}};
    for (const SlitWay& way : ways) {
        SlitMesh once = slitOnce(slit.mesh, way);
        slit.mesh = std::move(once.mesh);
        slit.added.insert(slit.added.end(), once.added.begin(), once.added.end());
        slit.lines.push_back(std::move(once.lines[0]));
    }
    return slit;
}

std::vector<double> onSlit(std::vector<double> values, const SlitMesh& slit) {
    for (const EdgePoint& point : slit.added) {
        values.push_back((1.0 - point.part) * values[at(point.low)] + point.part * values[at(point.high)]);
    }
    return values;
}

} // namespace drape::host
