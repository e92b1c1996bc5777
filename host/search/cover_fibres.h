// Which fibres of which piece lie on top on each triangle of a surface that several pieces cover.
#pragma once

#include "host/cloth/fibre_map.h"
#include "host/search/cover.h"

namespace drape::host {

struct CoverFibres {
    std::vector<TriangleFibres> fibres; // per triangle of the surface; cells count within their piece
    std::vector<std::int32_t> pieces;   // per triangle, 1-based, 0 where it is bare
};

// A triangle takes the piece that claims its middle.
CoverFibres coverFibresOf(const Mould& surface, const PieceSet& set);

} // namespace drape::host
