// The claims' triangles are parts of the surface's, so the one under a middle says whose it is.
#include "host/search/cover_fibres.h"

#include "host/mesh/surface_tree.h"

namespace drape::host {

CoverFibres coverFibresOf(const Mould& surface, const PieceSet& set) {
    TriangleMesh claims;
    claims.positions = set.claims->positions;
    for (std::size_t t = 0; t < set.claims->triangleCount(); ++t) {
        claims.triangles.push_back({set.claims->corners[3 * t] - 1, set.claims->corners[3 * t + 1] - 1,
                                    set.claims->corners[3 * t + 2] - 1});
    }
    const SurfaceTree tree(claims);
    CoverFibres result;
    result.fibres.resize(surface.triangleCount());
    for (std::size_t t = 0; t < surface.triangleCount(); ++t) {
        result.pieces.push_back(set.claimOf[tree.nearest(surface.facets[t].centroid).triangle] + 1);
    }
    for (std::size_t p = 0; p < set.pieces.size(); ++p) {
        const Trial& drape = set.pieces[p].drape;
        const std::vector<TriangleFibres> own = mapFibres(surface, drape.grid, drape.measures);
        for (std::size_t t = 0; t < own.size(); ++t) {
            if (result.pieces[t] == static_cast<std::int32_t>(p) + 1) {
                result.fibres[t] = own[t];
            }
        }
    }
    for (std::size_t t = 0; t < result.fibres.size(); ++t) {
        result.pieces[t] = result.fibres[t].cover == Cover::none ? 0 : result.pieces[t];
    }
    return result;
}

} // namespace drape::host
