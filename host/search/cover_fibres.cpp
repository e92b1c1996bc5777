// What a piece has under a triangle's middle counts only where that piece lies on top.
#include "host/search/cover_fibres.h"

#include "host/search/piece_claims.h"

namespace drape::host {

CoverFibres coverFibresOf(const Mould& surface, const PieceSet& set) {
    const PieceClaims claims(set);
    CoverFibres result;
    result.fibres.resize(surface.triangleCount());
    for (std::size_t t = 0; t < surface.triangleCount(); ++t) {
        result.pieces.push_back(claims.pieceAt(surface.facets[t].centroid) + 1);
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
