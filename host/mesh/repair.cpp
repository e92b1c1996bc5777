// Close vertices are found by sorting along an uneven direction, along which few vertices fall together. A
// triangle without height is not just left out, which would leave a crack: it trades its long edge against
// the other diagonal of the quad that it forms with its neighbour.
#include "host/mesh/repair.h"

#include "host/mesh/box.h"
#include "host/mesh/error.h"
#include "host/mesh/fans.h"
#include "host/mesh/point.h"
#include "host/mesh/polygon_triangles.h"
#include "host/mesh/spatial_order.h"
#include "host/mesh/text.h"
#include "host/mesh/topology.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <tuple>

namespace drape::host {

using namespace vec;

namespace {

// A triangle lower than this share of its longest edge has no height.
constexpr double flatShare = 1e-7;
constexpr int flipRounds = 8;

// The points' numbers along a direction, of equal ones the lower first. They are dealt into as many stretches
// of the way first, which leaves few to sort in each.
std::vector<std::int32_t> orderedAlong(const std::vector<double>& along) {
    const auto ends = std::minmax_element(along.begin(), along.end());
    const double low = *ends.first;
    const double scale = static_cast<double>(along.size()) / (*ends.second - low);
    const auto stretchOf = [&](double x) {
        const double stretch = (x - low) * scale; // no number where all are alike
        const double last = static_cast<double>(along.size()) - 1.0;
        return stretch > 0.0 ? static_cast<std::size_t>(std::min(stretch, last)) : 0;
    };
    std::vector<std::size_t> next(along.size() + 1, 0);
    for (const double x : along) {
        ++next[stretchOf(x) + 1];
    }
    std::partial_sum(next.begin(), next.end(), next.begin());
    std::vector<std::int32_t> order(along.size());
    for (std::size_t p = 0; p < along.size(); ++p) {
        order[next[stretchOf(along[p])]++] = static_cast<std::int32_t>(p);
    }
    auto first = order.begin();
    for (std::size_t stretch = 0; stretch < along.size(); ++stretch) {
        const auto last = order.begin() + static_cast<std::ptrdiff_t>(next[stretch]);
        std::sort(first, last, [&](std::int32_t a, std::int32_t b) {
            return along[at(a)] < along[at(b)] || (along[at(a)] == along[at(b)] && a < b);
        });
        first = last;
    }
    return order;
}

std::vector<std::int32_t> weldedNumbers(const std::vector<Point>& points, double reach) {
    const Point uneven = unit({0.62, 0.41, 0.67});
    std::vector<double> along(points.size());
    std::transform(points.begin(), points.end(), along.begin(),
                   [&](const Point& p) { return dot(p, uneven); });
    std::vector<std::int32_t> number(points.size());
    std::iota(number.begin(), number.end(), 0);
    if (points.empty()) {
        return number;
    }
    const std::vector<std::int32_t> order = orderedAlong(along);
    for (std::size_t i = 0; i < order.size(); ++i) {
        const auto a = static_cast<std::size_t>(order[i]);
        for (std::size_t j = i; j-- > 0;) {
            const auto b = static_cast<std::size_t>(order[j]);
            if (along[a] - along[b] > reach) {
                break;
            }
            if (distance(points[a], points[b]) <= reach) {
                number[a] = number[b];
                break;
            }
        }
    }
    return number;
}

// Keeps the lowest vertex of each welded group and renumbers the rest.
void weld(SpatialOrder& order, Notes& notes) {
    const std::vector<std::int32_t> group = weldedNumbers(order.points, weldShare * diagonalOf(order.points));
    std::vector<std::int32_t> lowest(group.size(), -1);
    std::vector<std::int32_t> number(group.size());
    std::vector<Point> kept;
    for (std::size_t v = 0; v < group.size(); ++v) {
        std::int32_t& first = lowest[at(group[v])];
        if (first < 0) {
            first = static_cast<std::int32_t>(kept.size());
            kept.push_back(order.points[v]);
        }
        number[v] = first;
    }
    if (kept.size() == group.size()) {
        return;
    }
    tell(notes, NoteKind::welded,
         "welded " + counted(group.size() - kept.size(), "vertex", "vertices") + " that lay on another one");
    order.points = std::move(kept);
    for (std::int32_t& corner : order.numbers) {
        corner = corner < 0 ? corner : number[at(corner)];
    }
}

TriangleMesh triangulated(const PolygonSoup& soup, SpatialOrder order, Notes& notes) {
    TriangleMesh mesh;
    mesh.positions = std::move(order.points);
    mesh.triangles.reserve(soup.polygons.size());
    mesh.sourceFaces.reserve(soup.polygons.size());
    std::size_t cut = 0;
    std::size_t bare = 0;
    std::vector<std::int32_t> ring;
    for (const std::int32_t f : order.faces) {
        ring.clear();
        for (const std::int32_t point : soup.polygons[at(f)]) {
            const std::int32_t corner = order.numbers[at(point)];
            if (ring.empty() || (ring.back() != corner)) {
                ring.push_back(corner);
            }
        }
        while (ring.size() > 1 && ring.front() == ring.back()) {
            ring.pop_back();
        }
        if (ring.size() < 3) {
            ++bare;
            continue;
        }
        cut += ring.size() > 3 ? 1 : 0;
        appendTriangles(ring, mesh.positions, mesh.triangles);
        mesh.sourceFaces.resize(mesh.triangles.size(), f + 1);
    }
    if (cut > 0) {
        tell(notes, NoteKind::facesCut,
             "cut " + counted(cut, "face", "faces") + " of more than three corners into triangles");
    }
    if (bare > 0) {
        tell(notes, NoteKind::facesLeftOut,
             "left out " + counted(bare, "face", "faces") + " of fewer than three different corners");
    }
    return mesh;
}

void dropMarked(TriangleMesh& mesh, const std::vector<char>& drop) {
    std::size_t kept = 0;
    for (std::size_t t = 0; t < drop.size(); ++t) {
        if (drop[t] == 0) {
            mesh.triangles[kept] = mesh.triangles[t];
            mesh.sourceFaces[kept] = mesh.sourceFaces[t];
            ++kept;
        }
    }
    mesh.triangles.resize(kept);
    mesh.sourceFaces.resize(kept);
}

struct Numbered {
    Triangle corners;
    std::int32_t face, triangle; // in the file, in the mesh

    bool operator<(const Numbered& other) const {
        return std::tie(corners, face, triangle) < std::tie(other.corners, other.face, other.triangle);
    }
};

// Marks those of some triangles that have the corners of another one before them in the file. Gives their
// number.
std::size_t markDoubles(std::vector<Numbered>& some, std::vector<char>& drop) {
    std::sort(some.begin(), some.end());
    std::size_t doubled = 0;
    for (std::size_t i = 1; i < some.size(); ++i) {
        char& mark = drop[at(some[i].triangle)];
        if (some[i].corners == some[i - 1].corners && mark == 0) {
            mark = 1;
            ++doubled;
        }
    }
    return doubled;
}

void dropDoubles(TriangleMesh& mesh, Notes& notes) {
    std::vector<char> drop(mesh.triangles.size(), 0);
    std::size_t collapsed = 0;
    for (std::size_t t = 0; t < mesh.triangles.size(); ++t) {
        const auto& [a, b, c] = mesh.triangles[t];
        drop[t] = a == b || b == c || c == a ? 1 : 0;
        collapsed += drop[t] != 0 ? 1 : 0;
    }
    // Those with the same corners are of the same vertices' fans.
    const Fans fans = fansOf(mesh);
    std::size_t doubled = 0;
    std::vector<Numbered> here;
    for (std::size_t v = 0; v < mesh.positions.size(); ++v) {
        here.clear();
        for (const std::int32_t t : fans.around(v)) {
            Triangle key = mesh.triangles[at(t)];
            if (at(*std::min_element(key.begin(), key.end())) == v && drop[at(t)] == 0) {
                std::sort(key.begin(), key.end());
                here.push_back({key, mesh.sourceFaces[at(t)], t});
            }
        }
        doubled += here.size() > 1 ? markDoubles(here, drop) : 0;
    }
    dropMarked(mesh, drop);
    if (collapsed > 0) {
        tell(notes, NoteKind::degenerateDropped,
             "dropped " + counted(collapsed, "degenerate triangle", "degenerate triangles"));
    }
    if (doubled > 0) {
        tell(notes, NoteKind::doubledDropped,
             "dropped " + counted(doubled, "triangle", "triangles") + " that lay on another one");
    }
}

std::size_t longestEdge(const TriangleMesh& mesh, std::size_t t) {
    std::size_t longest = 0;
    double best = -1.0;
    for (std::size_t k = 0; k < 3; ++k) {
        const double l = distance(mesh.corner(t, k), mesh.corner(t, (k + 1) % 3));
        if (l > best) {
            best = l;
            longest = k;
        }
    }
    return longest;
}

bool isFlat(const TriangleMesh& mesh, std::size_t t) {
    // Most are far from it, which squares tell without a root.
    constexpr double clear = 4.0 * flatShare;
    const Point ab = mesh.corner(t, 1) - mesh.corner(t, 0);
    const Point ac = mesh.corner(t, 2) - mesh.corner(t, 0);
    const Point bc = mesh.corner(t, 2) - mesh.corner(t, 1);
    const double longest = std::max({dot(ab, ab), dot(ac, ac), dot(bc, bc)});
    const Point square = cross(ab, ac);
    if (dot(square, square) > clear * clear * longest * longest) {
        return false;
    }
    const std::size_t k = longestEdge(mesh, t);
    const double edge = distance(mesh.corner(t, k), mesh.corner(t, (k + 1) % 3));
    return !(areaOf(mesh.corner(t, 0), mesh.corner(t, 1), mesh.corner(t, 2)) > 0.5 * flatShare * edge * edge);
}

// One round over all triangles without height; each triangle takes part in one flip at most.
std::size_t flipRound(TriangleMesh& mesh, std::vector<char>& drop) {
    Neighbours neighbours; // once one is found
    std::vector<char> touched(mesh.triangles.size(), 0);
    std::size_t changed = 0;
    for (std::size_t t = 0; t < mesh.triangles.size(); ++t) {
        if (touched[t] != 0 || !isFlat(mesh, t)) {
            continue;
        }
        if (neighbours.empty()) {
            neighbours = topologyOf(mesh).neighbours;
        }
        const std::size_t k = longestEdge(mesh, t);
        if (neighbours[t][k] == noTriangle) {
            drop[t] = 1;
            touched[t] = 1;
            ++changed;
            continue;
        }
        const auto u = static_cast<std::size_t>(neighbours[t][k]);
        if (touched[u] != 0) {
            continue;
        }
        const std::int32_t a = mesh.triangles[t][k];
        const std::int32_t b = mesh.triangles[t][(k + 1) % 3];
        const std::int32_t c = mesh.triangles[t][(k + 2) % 3];
        const std::int32_t d = mesh.triangles[u][(edgeBetween(mesh.triangles[u], a, b) + 2) % 3];
        touched[t] = touched[u] = 1;
        ++changed;
        if (c == d) {
            drop[t] = drop[u] = 1;
            continue;
        }
        mesh.triangles[t] = {c, a, d};
        mesh.triangles[u] = {b, c, d};
        mesh.sourceFaces[t] = mesh.sourceFaces[u];
    }
    return changed;
}

void removeFlat(TriangleMesh& mesh, Notes& notes) {
    std::size_t removed = 0;
    std::size_t changed = 1;
    for (int round = 0; round < flipRounds && changed > 0; ++round) {
        std::vector<char> drop(mesh.triangles.size(), 0);
        changed = flipRound(mesh, drop);
        dropMarked(mesh, drop);
        removed += changed;
    }
    if (changed > 0) { // else none is left
        std::vector<char> drop(mesh.triangles.size(), 0);
        for (std::size_t t = 0; t < drop.size(); ++t) {
            drop[t] = isFlat(mesh, t) ? 1 : 0;
        }
        dropMarked(mesh, drop);
    }
    if (removed > 0) {
        tell(notes, NoteKind::degenerateDropped,
             "dropped " + counted(removed, "degenerate triangle", "degenerate triangles"));
    }
}

} // namespace

double diagonalOf(const std::vector<Point>& points) {
    const Box3 box = boxOf(points);
    return box.empty() ? 0.0 : distance(box.low, box.high);
}

TriangleMesh repairedMesh(const PolygonSoup& soup, bool welded, Notes& notes) {
    const std::size_t most = static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max()) / 4;
    if (soup.points.size() > most || soup.polygons.size() > most) {
        throw InputError("the mesh is too large: more than " + std::to_string(most) + " vertices or faces",
                         Refusal::unfit);
    }
    SpatialOrder order = spatialOrderOf(soup);
    if (!std::isfinite(diagonalOf(order.points))) {
        throw InputError("the mesh is too wide for its lengths to be worked out", Refusal::unfit);
    }
    if (welded) {
        weld(order, notes);
    }
    TriangleMesh mesh = triangulated(soup, std::move(order), notes);
    dropDoubles(mesh, notes);
    removeFlat(mesh, notes);
    if (mesh.triangles.empty()) {
        throw InputError("the mesh has no triangle with an area", Refusal::unfit);
    }
    return keptPart(mesh, std::vector<char>(mesh.triangles.size(), 1));
}

} // namespace drape::host
