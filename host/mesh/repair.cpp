// Close vertices are found by sorting along an uneven direction, along which few vertices fall together. A
// triangle without height is not just left out, which would leave a crack: it trades its long edge against
// the other diagonal of the quad that it forms with its neighbour.
#include "host/mesh/repair.h"

#include "host/mesh/box.h"
#include "host/mesh/error.h"
#include "host/mesh/point.h"
#include "host/mesh/polygon_triangles.h"
#include "host/mesh/text.h"
#include "host/mesh/topology.h"

#include <algorithm>
#include <limits>
#include <numeric>

namespace drape::host {

using namespace vec;

namespace {

// A triangle lower than this share of its longest edge has no height.
constexpr double flatShare = 1e-7;
constexpr int flipRounds = 8;

std::vector<std::int32_t> weldedNumbers(const std::vector<Point>& points, double reach) {
    const Point uneven = unit({0.62, 0.41, 0.67});
    std::vector<std::int32_t> order(points.size());
    std::iota(order.begin(), order.end(), 0);
    std::vector<double> along(points.size());
    std::transform(points.begin(), points.end(), along.begin(),
                   [&](const Point& p) { return dot(p, uneven); });
    std::sort(order.begin(), order.end(), [&](std::int32_t a, std::int32_t b) {
        const double x = along[static_cast<std::size_t>(a)];
        const double y = along[static_cast<std::size_t>(b)];
        return x < y || (x == y && a < b);
    });
    std::vector<std::int32_t> number(points.size());
    std::iota(number.begin(), number.end(), 0);
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

// Points that no face names aren't part of the surface: they would count for its size and in its pictures.
PolygonSoup withoutStrayPoints(const PolygonSoup& soup) {
    std::vector<std::int32_t> number(soup.points.size(), -1);
    for (const auto& polygon : soup.polygons) {
        for (const std::int32_t corner : polygon) {
            number[static_cast<std::size_t>(corner)] = 0;
        }
    }
    PolygonSoup kept;
    for (std::size_t v = 0; v < number.size(); ++v) {
        if (number[v] == 0) {
            number[v] = static_cast<std::int32_t>(kept.points.size());
            kept.points.push_back(soup.points[v]);
        }
    }
    kept.polygons = soup.polygons;
    for (auto& polygon : kept.polygons) {
        for (std::int32_t& corner : polygon) {
            corner = number[static_cast<std::size_t>(corner)];
        }
    }
    return kept;
}

// Keeps the lowest vertex of each welded group and renumbers the rest.
PolygonSoup welded(PolygonSoup soup, Notes& notes) {
    const std::vector<std::int32_t> group = weldedNumbers(soup.points, weldShare * diagonalOf(soup.points));
    std::vector<std::int32_t> lowest(soup.points.size(), -1);
    std::vector<std::int32_t> number(soup.points.size());
    std::vector<Point> kept;
    for (std::size_t v = 0; v < group.size(); ++v) {
        std::int32_t& first = lowest[static_cast<std::size_t>(group[v])];
        if (first < 0) {
            first = static_cast<std::int32_t>(kept.size());
            kept.push_back(soup.points[v]);
        }
        number[v] = first;
    }
    if (kept.size() < soup.points.size()) {
        tell(notes, NoteKind::welded,
             "welded " + counted(soup.points.size() - kept.size(), "vertex", "vertices") +
                 " that lay on another one");
    }
    soup.points = std::move(kept);
    for (auto& polygon : soup.polygons) {
        for (std::int32_t& corner : polygon) {
            corner = number[static_cast<std::size_t>(corner)];
        }
    }
    return soup;
}

TriangleMesh triangulated(const PolygonSoup& soup, Notes& notes) {
    TriangleMesh mesh;
    mesh.positions = soup.points;
    std::size_t cut = 0;
    std::size_t bare = 0;
    std::vector<std::int32_t> ring;
    for (std::size_t f = 0; f < soup.polygons.size(); ++f) {
        ring.clear();
        for (const std::int32_t corner : soup.polygons[f]) {
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
        for (const Triangle& t : trianglesOf(ring, soup.points)) {
            mesh.triangles.push_back(t);
            mesh.sourceFaces.push_back(static_cast<std::int32_t>(f + 1));
        }
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

void dropDoubles(TriangleMesh& mesh, Notes& notes) {
    std::vector<std::pair<Triangle, std::int32_t>> sorted;
    std::vector<char> drop(mesh.triangles.size(), 0);
    std::size_t collapsed = 0;
    for (std::size_t t = 0; t < mesh.triangles.size(); ++t) {
        Triangle key = mesh.triangles[t];
        std::sort(key.begin(), key.end());
        drop[t] = key[0] == key[1] || key[1] == key[2] ? 1 : 0;
        collapsed += drop[t] != 0 ? 1 : 0;
        sorted.emplace_back(key, static_cast<std::int32_t>(t));
    }
    std::sort(sorted.begin(), sorted.end());
    std::size_t doubled = 0;
    for (std::size_t i = 1; i < sorted.size(); ++i) {
        char& mark = drop[static_cast<std::size_t>(sorted[i].second)];
        if (sorted[i].first == sorted[i - 1].first && mark == 0) {
            mark = 1;
            ++doubled;
        }
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
    for (int round = 0; round < flipRounds; ++round) {
        std::vector<char> drop(mesh.triangles.size(), 0);
        const std::size_t changed = flipRound(mesh, drop);
        dropMarked(mesh, drop);
        removed += changed;
        if (changed == 0) {
            break;
        }
    }
    std::vector<char> drop(mesh.triangles.size(), 0);
    for (std::size_t t = 0; t < drop.size(); ++t) {
        drop[t] = isFlat(mesh, t) ? 1 : 0;
    }
    dropMarked(mesh, drop);
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

TriangleMesh repairedMesh(const PolygonSoup& soup, bool weld, Notes& notes) {
    const std::size_t most = static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max()) / 4;
    if (soup.points.size() > most || soup.polygons.size() > most) {
        throw InputError("the mesh is too large: more than " + std::to_string(most) + " vertices or faces",
                         Refusal::unfit);
    }
    PolygonSoup surface = withoutStrayPoints(soup);
    if (!std::isfinite(diagonalOf(surface.points))) {
        throw InputError("the mesh is too wide for its lengths to be worked out", Refusal::unfit);
    }
    TriangleMesh mesh = triangulated(weld ? welded(std::move(surface), notes) : surface, notes);
    dropDoubles(mesh, notes);
    removeFlat(mesh, notes);
    if (mesh.triangles.empty()) {
        throw InputError("the mesh has no triangle with an area", Refusal::unfit);
    }
    return keptPart(mesh, std::vector<char>(mesh.triangles.size(), 1));
}

} // namespace drape::host
