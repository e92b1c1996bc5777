// The library walks the boundary loop of its lowest flagged vertex and sees nothing of the others, so the
// longest loop alone is flagged. Edges between flagged vertices that two triangles share don't mislead it.
#include "host/cloth/mould.h"

#include "host/mesh/boundary_loops.h"
#include "host/mesh/error.h"

namespace drape::host {

using namespace vec;

namespace {

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

double areaOf(const Mould& mould) {
    double sum = 0.0;
    for (std::size_t t = 0; t < mould.triangleCount(); ++t) {
        sum += vec::areaOf(mould.corner(t, 0), mould.corner(t, 1), mould.corner(t, 2));
    }
    return sum;
}

Mould mouldOf(TriangleMesh mesh, Notes& notes) {
    const std::vector<Loop> loops = boundaryLoops(mesh);
    if (loops.empty()) {
        throw InputError("the surface is closed, and cloth needs an edge to end at", Refusal::closed);
    }
    if (loops.size() > 1) {
        nameHoles(loops, mesh, NoteKind::holesLeft, "; cloth that runs into a hole ends there", notes);
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

} // namespace drape::host
