// Territories laid side by side: each place goes to the piece that is deepest there, so that neighbours meet
// in the middle of what both could cover; then each piece is draped by itself as it was cut out.
#pragma once

#include "host/search/cover.h"

namespace drape::host {

// The pieces whose territories are listed in `choice`, verified, with their seams. Pieces that don't drape as
// they were cut lose what isn't good of them; those that have nothing left are gone.
// What is left of the territories, the claims alone, comes back in `left`.
PieceSet laidOut(const CoverGround& cover, const CoverWishes& wishes,
                 const std::vector<Territory>& territories, const std::vector<std::size_t>& choice,
                 std::vector<Territory>& left);

} // namespace drape::host
