// The library walks the boundary loop of its lowest flagged vertex and sees nothing of the others, so the
// longest loop alone is flagged. Edges between flagged vertices that two triangles share don't mislead it.
#include "mould.h"

#include "boundary_loops.h"
#include "errors.h"
#include "mesh_topology.h"
#include "point_math.h"
#include "surface_point.h"
#include "text.h"

#include <algorithm>

namespace tool {

using namespace vec;

namespace {

// Holes named one by one before the rest is only counted.
constexpr std::size_t holesNamed = 5;

void nameHoles(const std::vector<Loop>& loops, const TriangleMesh& mesh, const std::string& outcome,
               const Log& log) {
    log.note("the surface has " + counted(loops.size() - 1, "hole", "holes") + outcome);
    for (std::size_t i = 1; i < loops.size() && i <= holesNamed; ++i) {
        log.note("  hole of " + number(loops[i].length) + " round about " +
                 pointText(centreOf(loops[i], mesh)) + ", " + std::to_string(loops[i].vertices.size()) +
                 " edges");
    }
    if (loops.size() - 1 > holesNamed) {
        log.note("  and " + std::to_string(loops.size() - 1 - holesNamed) + " more");
    }
}

void makeFans(Mould& mould) {
    std::vector<std::int32_t> count(mould.positions.size() + 1, 0);
    for (const std::int32_t corner : mould.corners) {
        ++count[static_cast<std::size_t>(corner)];
    }
    for (std::size_t v = 1; v < count.size(); ++v) {
        count[v] += count[v - 1];
    }
    mould.fanStart.assign(count.begin(), count.end() - 1);
    mould.fan.resize(mould.corners.size());
    std::vector<std::int32_t> next = mould.fanStart;
    for (std::size_t c = 0; c < mould.corners.size(); ++c) {
        std::int32_t& place = next[static_cast<std::size_t>(mould.corners[c]) - 1];
        mould.fan[static_cast<std::size_t>(place)] = static_cast<std::int32_t>(c / 3 + 1);
        ++place;
    }
}

} // namespace

TriangleMesh chosenPiece(const TriangleMesh& mesh, const Point* near, const Log& log) {
    const std::vector<std::int32_t> piece = piecesOf(mesh);
    const std::int32_t pieces = piece.empty() ? 0 : *std::max_element(piece.begin(), piece.end()) + 1;
    if (pieces <= 1) {
        return mesh;
    }
    std::int32_t chosen = 0;
    if (near != nullptr) {
        chosen = piece[nearestSurfacePoint(mesh, *near).triangle];
    } else {
        std::vector<double> area(static_cast<std::size_t>(pieces), 0.0);
        for (std::size_t t = 0; t < piece.size(); ++t) {
            area[static_cast<std::size_t>(piece[t])] +=
                vec::areaOf(mesh.corner(t, 0), mesh.corner(t, 1), mesh.corner(t, 2));
        }
        chosen = static_cast<std::int32_t>(std::max_element(area.begin(), area.end()) - area.begin());
    }
    std::vector<char> keep(piece.size());
    std::transform(piece.begin(), piece.end(), keep.begin(),
                   [&](std::int32_t p) { return static_cast<char>(p == chosen); });
    TriangleMesh kept = keptPart(mesh, keep);
    log.note("kept the piece " +
             std::string(near != nullptr ? "nearest to the seed" : "of the largest area") + " of " +
             std::to_string(pieces) + " pieces: " + std::to_string(kept.triangles.size()) + " of " +
             counted(mesh.triangles.size(), "triangle", "triangles"));
    return kept;
}

TriangleMesh withoutHoles(TriangleMesh mesh, const Log& log) {
    const std::vector<Loop> loops = boundaryLoops(mesh);
    if (loops.size() < 2) {
        return mesh;
    }
    nameHoles(loops, mesh, ", filled so that the cloth runs on", log);
    return withHolesFilled(std::move(mesh), loops);
}

Mould mouldOf(TriangleMesh mesh, const Log& log) {
    const std::vector<Loop> loops = boundaryLoops(mesh);
    if (loops.empty()) {
        throw InputError("the surface is closed, and cloth needs an edge to end at. Cut it open with "
                         "--clip x0,y0,z0,nx,ny,nz, which keeps the side of the plane to which n points, "
                         "or drape a part of it with --within R");
    }
    if (loops.size() > 1) {
        nameHoles(loops, mesh, "; cloth that runs into a hole ends there (--fill-holes lets it run on)", log);
    }
    Mould mould;
    mould.positions = std::move(mesh.positions);
    mould.sourceFaces = std::move(mesh.sourceFaces);
    mould.corners.reserve(3 * mesh.triangles.size());
    for (const Triangle& t : mesh.triangles) {
        for (const std::int32_t v : t) {
            mould.corners.push_back(v + 1);
        }
    }
    makeFans(mould);
    mould.flagged.assign(mould.positions.size(), 0);
    for (const std::int32_t v : loops.front().vertices) {
        mould.flagged[static_cast<std::size_t>(v)] = 1;
    }
    for (const Loop& loop : loops) {
        mould.loops.push_back(loop.vertices);
    }
    return mould;
}

} // namespace tool
