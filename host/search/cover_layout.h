// Territories laid side by side: the surface cut along seams where they overlap, and a piece of cloth on each
// part.
#pragma once

#include "host/search/cover.h"
#include "host/search/for_each.h"

namespace drape::host {

// The pieces, each draped by itself, with their seams. A territory of which too little is left to be a piece
// is gone.
PieceSet laidOut(const CoverGround& cover, const CoverWishes& wishes,
                 const std::vector<const Territory*>& territories, const ForEach& forEach);

} // namespace drape::host
