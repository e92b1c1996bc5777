// Territories laid side by side: the surface cut along seams where they overlap, and a piece of cloth on each
// part.
#pragma once

#include "host/search/cover.h"
#include "host/search/for_each.h"

namespace drape::host {

struct LaidOut {
    PieceSet set;                         // the pieces, each draped by itself, with their seams
    std::vector<std::size_t> territories; // of each piece; one of which too little is left has none
};

// The claims' first vertices are the ground's. Once it is clear that less than `least` of the area will be
// covered, it is given up, without pieces.
LaidOut laidOut(const CoverGround& cover, const CoverWishes& wishes,
                const std::vector<const Territory*>& territories, double least, const ForEach& forEach);

} // namespace drape::host
