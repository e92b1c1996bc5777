// On a manifold mesh each boundary vertex has one boundary edge that leaves it, so loops are read off a
// table.
#include "host/mesh/boundary_loops.h"

#include "host/mesh/point.h"
#include "host/mesh/polygon_triangles.h"
#include "host/mesh/text.h"

#include <algorithm>

namespace drape::host {

using namespace vec;

namespace {

// Holes named one by one before the rest is only counted.
constexpr std::size_t holesNamed = 5;

constexpr double equallyLong = 1e-6; // share of the length

double lengthOf(const std::vector<std::int32_t>& loop, const TriangleMesh& mesh) {
    double sum = 0.0;
    for (std::size_t i = 0; i < loop.size(); ++i) {
        sum += distance(mesh.positions[at(loop[i])], mesh.positions[at(loop[(i + 1) % loop.size()])]);
    }
    return sum;
}

} // namespace

std::vector<Loop> boundaryLoops(const TriangleMesh& mesh, const Neighbours& neighbours) {
    std::vector<std::int32_t> next(mesh.positions.size(), -1);
    for (std::size_t t = 0; t < mesh.triangles.size(); ++t) {
        for (std::size_t k = 0; k < 3; ++k) {
            if (neighbours[t][k] == noTriangle) {
                next[at(mesh.triangles[t][k])] = mesh.triangles[t][(k + 1) % 3];
            }
        }
    }
    std::vector<Loop> loops;
    for (std::size_t first = 0; first < next.size(); ++first) {
        Loop loop;
        auto v = static_cast<std::int32_t>(first);
        while (next[at(v)] >= 0) {
            loop.vertices.push_back(v);
            const std::int32_t following = next[at(v)];
            next[at(v)] = -1;
            v = following;
        }
        if (!loop.vertices.empty()) {
            loop.length = lengthOf(loop.vertices, mesh);
            loops.push_back(std::move(loop));
        }
    }
    std::stable_sort(loops.begin(), loops.end(),
                     [](const Loop& a, const Loop& b) { return a.length > b.length; });
    // Rounding doesn't decide which rim of a tube is its outline.
    const auto asLong = std::find_if(loops.begin(), loops.end(), [&](const Loop& loop) {
        return loop.length < (1.0 - equallyLong) * loops.front().length;
    });
    std::sort(loops.begin(), asLong,
              [](const Loop& a, const Loop& b) { return a.vertices.front() < b.vertices.front(); });
    return loops;
}

std::vector<Loop> boundaryLoops(const TriangleMesh& mesh) {
    return boundaryLoops(mesh, topologyOf(mesh).neighbours);
}

Point centreOf(const Loop& loop, const std::vector<Point>& positions) {
    Point sum{};
    for (const std::int32_t v : loop.vertices) {
        sum = sum + positions[at(v)];
    }
    return (1.0 / static_cast<double>(loop.vertices.size())) * sum;
}

TriangleMesh withHolesFilled(TriangleMesh mesh, const std::vector<Loop>& loops) {
    for (std::size_t i = 1; i < loops.size(); ++i) {
        std::vector<std::int32_t> ring(loops[i].vertices.rbegin(), loops[i].vertices.rend());
        if (ring.size() < 3) // two edges between the same vertices enclose nothing
            continue;
        appendTriangles(ring, mesh.positions, mesh.triangles);
        mesh.sourceFaces.resize(mesh.triangles.size(), 0);
    }
    return mesh;
}

void nameHoles(const std::vector<Loop>& loops, const std::vector<Point>& positions, NoteKind kind,
               const std::string& outcome, Notes& notes) {
    if (loops.size() < 2) {
        return;
    }
    tell(notes, kind, "the surface has " + counted(loops.size() - 1, "hole", "holes") + outcome);
    for (std::size_t i = 1; i < loops.size() && i <= holesNamed; ++i) {
        tell(notes, NoteKind::hole,
             "  hole of " + number(loops[i].length) + " round about " +
                 pointText(centreOf(loops[i], positions), 1e-3 * loops[i].length) + ", " +
                 std::to_string(loops[i].vertices.size()) + " edges");
    }
    if (loops.size() - 1 > holesNamed) {
        tell(notes, NoteKind::hole, "  and " + std::to_string(loops.size() - 1 - holesNamed) + " more");
    }
}

TriangleMesh withoutHoles(TriangleMesh mesh, Notes& notes) {
    const std::vector<Loop> loops = boundaryLoops(mesh);
    if (loops.size() < 2) {
        return mesh;
    }
    nameHoles(loops, mesh.positions, NoteKind::holesFilled, ", filled so that the cloth runs on", notes);
    return withHolesFilled(std::move(mesh), loops);
}

} // namespace drape::host
