// Edges are sorted by their vertices, so that all triangles of an edge stand side by side; everything else
// walks from neighbour to neighbour.
#include "host/mesh/topology.h"

#include "host/mesh/point.h"
#include "host/mesh/text.h"

#include <algorithm>
#include <numeric>

namespace drape::host {

using namespace vec;
namespace {

// A triangle's edge, told by its vertex with the higher number.
struct EdgeUse {
    std::int32_t high, triangle, edge;
};

// All edges by their low vertices, those of vertex v from entry `start[v]` on, and of these by their high
// ones, then their triangles.
struct SortedEdges {
    std::vector<std::size_t> start;
    std::vector<EdgeUse> uses;
};

// The low ones are counted, since nothing is left to sort then but the few edges of each vertex, which stand
// in the order of their triangles already.
SortedEdges sortedEdges(const TriangleMesh& mesh) {
    constexpr std::ptrdiff_t few = 24;
    SortedEdges edges;
    std::vector<std::size_t>& start = edges.start;
    std::vector<EdgeUse>& uses = edges.uses;
    start.assign(mesh.positions.size() + 1, 0);
    for (const auto& [a, b, c] : mesh.triangles) {
        ++start[at(std::min(a, b))];
        ++start[at(std::min(b, c))];
        ++start[at(std::min(c, a))];
    }
    std::partial_sum(start.begin(), start.end(), start.begin());
    uses.resize(3 * mesh.triangles.size());
    for (std::size_t t = mesh.triangles.size(); t-- > 0;) {
        const auto put = [&](std::int32_t from, std::int32_t to, std::int32_t edge) {
            const auto [low, high] = std::minmax(from, to);
            uses[--start[at(low)]] = {high, static_cast<std::int32_t>(t), edge};
        };
        const auto& [a, b, c] = mesh.triangles[t];
        put(c, a, 2);
        put(b, c, 1);
        put(a, b, 0);
    }
    const auto higher = [](const EdgeUse& x, const EdgeUse& y) { return x.high < y.high; };
    for (std::size_t v = 0; v + 1 < start.size(); ++v) {
        const auto first = uses.begin() + static_cast<std::ptrdiff_t>(start[v]);
        const auto last = uses.begin() + static_cast<std::ptrdiff_t>(start[v + 1]);
        if (last - first > few) {
            std::stable_sort(first, last, higher);
        } else {
            for (auto use = first; use != last; ++use) {
                std::rotate(std::upper_bound(first, use, *use, higher), use, use + 1);
            }
        }
    }
    return edges;
}

void join(Neighbours& neighbours, const EdgeUse& x, const EdgeUse& y) {
    neighbours[at(x.triangle)][at(x.edge)] = y.triangle;
    neighbours[at(y.triangle)][at(y.edge)] = x.triangle;
}

// Direction in which a triangle leaves its edge, square to the edge.
Point wing(const TriangleMesh& mesh, std::size_t low, const EdgeUse& use) {
    const Point& from = mesh.positions[low];
    const Point along = unit(mesh.positions[at(use.high)] - from);
    const Point out = mesh.corner(at(use.triangle), at((use.edge + 2) % 3)) - from;
    return unit(out - dot(out, along) * along);
}

void joinSmoothest(const TriangleMesh& mesh, std::size_t low, std::vector<EdgeUse> uses,
                   Neighbours& neighbours) {
    while (uses.size() > 1) {
        std::size_t bestX = 0;
        std::size_t bestY = 1;
        double best = 2.0;
        for (std::size_t x = 0; x < uses.size(); ++x) {
            for (std::size_t y = x + 1; y < uses.size(); ++y) {
                const double cosine = dot(wing(mesh, low, uses[x]), wing(mesh, low, uses[y]));
                if (cosine < best) {
                    best = cosine;
                    bestX = x;
                    bestY = y;
                }
            }
        }
        join(neighbours, uses[bestX], uses[bestY]);
        uses.erase(uses.begin() + static_cast<std::ptrdiff_t>(bestY));
        uses.erase(uses.begin() + static_cast<std::ptrdiff_t>(bestX));
    }
}

// Whether two neighbours run along their common edge in opposite senses, as they do on a surface with a side.
bool windingsAgree(const Triangle& t, std::size_t edge, const Triangle& u) {
    const std::size_t other = edgeBetween(u, t[edge], t[(edge + 1) % 3]);
    return u[other] == t[(edge + 1) % 3];
}

void turn(TriangleMesh& mesh, Neighbours& neighbours, std::size_t t) {
    std::swap(mesh.triangles[t][1], mesh.triangles[t][2]);
    std::swap(neighbours[t][0], neighbours[t][2]);
}

// Cuts the two triangles apart on an edge where no choice of sides can make them agree.
void cutEdge(const TriangleMesh& mesh, Neighbours& neighbours, std::size_t t, std::size_t k) {
    const std::int32_t u = neighbours[t][k];
    const std::size_t other =
        edgeBetween(mesh.triangles[at(u)], mesh.triangles[t][k], mesh.triangles[t][(k + 1) % 3]);
    neighbours[at(u)][other] = noTriangle;
    neighbours[t][k] = noTriangle;
}

struct Turning {
    std::size_t turned = 0;
    std::size_t cut = 0;
};

bool allWindingsAgree(const TriangleMesh& mesh, const Neighbours& neighbours) {
    for (std::size_t t = 0; t < mesh.triangles.size(); ++t) {
        for (std::size_t k = 0; k < 3; ++k) {
            const std::int32_t u = neighbours[t][k];
            if (u > static_cast<std::int32_t>(t) &&
                !windingsAgree(mesh.triangles[t], k, mesh.triangles[at(u)])) {
                return false;
            }
        }
    }
    return true;
}

Turning makeWindingsAgree(TriangleMesh& mesh, Neighbours& neighbours) {
    Turning result;
    if (allWindingsAgree(mesh, neighbours)) {
        return result;
    }
    std::vector<char> seen(mesh.triangles.size(), 0);
    std::vector<char> turned(mesh.triangles.size(), 0);
    for (std::size_t first = 0; first < mesh.triangles.size(); ++first) {
        if (seen[first] != 0) {
            continue;
        }
        std::vector<std::size_t> piece{first};
        seen[first] = 1;
        std::size_t turnedHere = 0;
        for (std::size_t next = 0; next < piece.size(); ++next) {
            const std::size_t t = piece[next];
            for (std::size_t k = 0; k < 3; ++k) {
                if (neighbours[t][k] == noTriangle) {
                    continue;
                }
                const std::size_t u = at(neighbours[t][k]);
                const bool agree = windingsAgree(mesh.triangles[t], k, mesh.triangles[u]);
                if (seen[u] == 0) {
                    seen[u] = 1;
                    piece.push_back(u);
                    if (!agree) {
                        turn(mesh, neighbours, u);
                        turned[u] = 1;
                        ++turnedHere;
                    }
                } else if (!agree) {
                    cutEdge(mesh, neighbours, t, k);
                    ++result.cut;
                }
            }
        }
        if (2 * turnedHere > piece.size()) {
            for (std::size_t t : piece) {
                turn(mesh, neighbours, t);
            }
            turnedHere = piece.size() - turnedHere;
        }
        result.turned += turnedHere;
    }
    return result;
}

std::size_t cornerAt(const Triangle& t, std::int32_t vertex) {
    return t[0] == vertex ? 0 : t[1] == vertex ? 1 : 2;
}

// Goes round the vertex at a corner one way until the fan closes or ends, then the other way, and gives the
// fan's corners the vertex `own`. The windings must agree. Corners are counted over all triangles.
void markFan(TriangleMesh& mesh, const Neighbours& neighbours, std::size_t corner, std::int32_t own,
             std::vector<char>& seen) {
    const std::int32_t vertex = mesh.triangles[corner / 3][corner % 3];
    const auto mark = [&](std::size_t t, std::size_t k) {
        seen[3 * t + k] = 1;
        mesh.triangles[t][k] = own;
    };
    mark(corner / 3, corner % 3);
    for (const std::size_t side :
         {std::size_t{0}, std::size_t{2}}) { // that leaves the vertex, that comes to it
        std::size_t t = corner / 3;
        std::size_t k = corner % 3;
        while (neighbours[t][(k + side) % 3] != noTriangle) {
            t = at(neighbours[t][(k + side) % 3]);
            if (t == corner / 3) {
                return;
            }
            k = cornerAt(mesh.triangles[t], vertex);
            mark(t, k);
        }
    }
}

// Gives each fan of triangles a vertex of its own, the first one at a vertex the old one. Returns how many
// vertices were added.
std::size_t splitFans(TriangleMesh& mesh, const Neighbours& neighbours) {
    const std::size_t before = mesh.positions.size();
    std::vector<char> taken(before, 0);
    std::vector<char> seen(3 * mesh.triangles.size(), 0);
    for (std::size_t c = 0; c < seen.size(); ++c) {
        if (seen[c] != 0) {
            continue;
        }
        const std::int32_t vertex = mesh.triangles[c / 3][c % 3];
        std::int32_t own = vertex;
        if (taken[at(vertex)] != 0) {
            own = static_cast<std::int32_t>(mesh.positions.size());
            mesh.positions.push_back(Point(mesh.positions[at(vertex)]));
        }
        taken[at(vertex)] = 1;
        markFan(mesh, neighbours, c, own, seen);
    }
    return mesh.positions.size() - before;
}

} // namespace

std::size_t edgeBetween(const Triangle& t, std::int32_t a, std::int32_t b) {
    for (std::size_t k = 0; k < 3; ++k) {
        const std::int32_t x = t[k];
        const std::int32_t y = t[(k + 1) % 3];
        if ((x == a && y == b) || (x == b && y == a)) {
            return k;
        }
    }
    return 3;
}

Topology topologyOf(const TriangleMesh& mesh) {
    Topology topology;
    topology.neighbours.assign(mesh.triangles.size(), {noTriangle, noTriangle, noTriangle});
    const auto& [start, uses] = sortedEdges(mesh);
    for (std::size_t low = 0; low + 1 < start.size(); ++low) {
        for (std::size_t i = start[low]; i < start[low + 1];) {
            std::size_t end = i + 1;
            while (end < start[low + 1] && uses[end].high == uses[i].high) {
                ++end;
            }
            if (end - i == 2) {
                join(topology.neighbours, uses[i], uses[i + 1]);
            } else if (end - i > 2) {
                ++topology.crowdedEdges;
                const auto from = uses.begin() + static_cast<std::ptrdiff_t>(i);
                joinSmoothest(mesh, low, {from, from + static_cast<std::ptrdiff_t>(end - i)},
                              topology.neighbours);
            }
            i = end;
        }
    }
    return topology;
}

Sheet sheetOf(TriangleMesh mesh, Notes& notes) {
    Topology topology = topologyOf(mesh);
    if (topology.crowdedEdges > 0) {
        tell(notes, NoteKind::crowdedEdges,
             "at " + counted(topology.crowdedEdges, "edge", "edges") +
                 " more than two triangles meet; the smoothest pair was kept joined there, the others cut "
                 "off");
    }
    const Turning turning = makeWindingsAgree(mesh, topology.neighbours);
    if (turning.turned > 0) {
        tell(notes, NoteKind::turnedOver,
             "turned over " + counted(turning.turned, "triangle", "triangles") +
                 " so that neighbours have the same side up");
    }
    if (turning.cut > 0) {
        tell(notes, NoteKind::cutOneSided,
             "cut the surface at " + counted(turning.cut, "edge", "edges") +
                 ", since it has only one side (as a twisted band)");
    }
    const std::size_t split = splitFans(mesh, topology.neighbours);
    if (split > 0) {
        tell(notes, NoteKind::splitVertices,
             "split the surface at " + counted(split, "vertex", "vertices") +
                 " where it only touched itself");
    }
    // Where more than two triangles meet still, or a cut lies between whole fans, who is whose neighbour
    // hangs on the triangles' order.
    if (topology.crowdedEdges > 0 || turning.cut > 0) {
        topology.neighbours.clear();
    }
    return {std::move(mesh), std::move(topology.neighbours)};
}

TriangleMesh manifoldOf(TriangleMesh mesh, Notes& notes) {
    return sheetOf(std::move(mesh), notes).mesh;
}

void turnOver(Sheet& sheet) {
    for (Triangle& t : sheet.mesh.triangles) {
        std::swap(t[1], t[2]);
    }
    for (auto& beyond : sheet.neighbours) {
        std::swap(beyond[0], beyond[2]);
    }
}

std::vector<std::int32_t> piecesOf(const Neighbours& neighbours) {
    std::vector<std::int32_t> piece(neighbours.size(), -1);
    std::vector<std::size_t> open;
    std::int32_t count = 0;
    for (std::size_t first = 0; first < piece.size(); ++first) {
        if (piece[first] >= 0) {
            continue;
        }
        piece[first] = count;
        open.assign(1, first);
        while (!open.empty()) {
            const std::size_t t = open.back();
            open.pop_back();
            for (const std::int32_t u : neighbours[t]) {
                if (u != noTriangle && piece[at(u)] < 0) {
                    piece[at(u)] = count;
                    open.push_back(at(u));
                }
            }
        }
        ++count;
    }
    return piece;
}

TriangleMesh keptPart(const TriangleMesh& mesh, const std::vector<char>& keep) {
    std::vector<std::int32_t> number(mesh.positions.size(), -1);
    for (std::size_t t = 0; t < keep.size(); ++t) {
        for (const std::int32_t v : mesh.triangles[t]) {
            number[at(v)] = keep[t] != 0 ? 0 : number[at(v)];
        }
    }
    TriangleMesh part;
    for (std::size_t v = 0; v < number.size(); ++v) {
        if (number[v] == 0) {
            number[v] = static_cast<std::int32_t>(part.positions.size());
            part.positions.push_back(mesh.positions[v]);
        }
    }
    for (std::size_t t = 0; t < keep.size(); ++t) {
        if (keep[t] != 0) {
            const Triangle& c = mesh.triangles[t];
            part.triangles.push_back({number[at(c[0])], number[at(c[1])], number[at(c[2])]});
            part.sourceFaces.push_back(mesh.sourceFaces[t]);
        }
    }
    return part;
}

} // namespace drape::host
