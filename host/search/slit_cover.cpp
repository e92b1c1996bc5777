// The ground's mesh is slit as it is, so that fields over both grounds go over into each other.
#include "host/search/slit_cover.h"

#include "host/cloth/mould_mesh.h"

#include <algorithm>

namespace drape::host {

namespace {

Surface slitSurface(const Surface& whole, const TriangleMesh& mesh) {
    Surface surface;
    surface.mesh = mesh;
    surface.mould = std::make_shared<const Mould>(mouldOf(mesh));
    surface.defaultSeed = whole.defaultSeed;
    surface.steps = whole.steps;
    surface.side = whole.side;
    return surface;
}

} // namespace

SlitCover::SlitCover(const CoverGround& whole, const std::vector<SlitWay>& ways)
    : slit_(slitAlong(whole.ground.mesh, ways)), surface_(slitSurface(whole.surface, slit_.mesh)),
      cover_{surface_, whole.wishes, whole.good,
             groundOf(slit_.mesh, std::max(whole.surface.steps[0], whole.surface.steps[1])), whole.isOver} {}

std::shared_ptr<const Room> SlitCover::extended(const std::shared_ptr<const Room>& room) const {
    if (!room) {
        return nullptr;
    }
    const std::vector<double> values = extended(std::vector<double>(room->begin(), room->end()));
    Room on(values.size());
    std::transform(values.begin(), values.end(), on.begin(), [](double v) { return static_cast<float>(v); });
    return std::make_shared<const Room>(std::move(on));
}

SlitMould slitMould(const Mould& mould, const std::vector<SlitWay>& ways) {
    SlitMesh slit = slitAlong(meshOf(mould), ways);
    std::erase_if(slit.lines, [](const std::vector<Point>& line) { return line.empty(); });
    return {std::make_shared<const Mould>(mouldOf(std::move(slit.mesh))), std::move(slit.lines)};
}

} // namespace drape::host
