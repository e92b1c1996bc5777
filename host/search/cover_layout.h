// Territories laid side by side: each place goes to the first that has it, so a piece is cut as it was draped
// when it was found, and draped once more by itself as it is cut.
#pragma once

#include "host/search/cover.h"

namespace drape::host {

// The pieces, verified, with their seams. `territories` come one after the other, each draped in the room
// that those before it leave. Pieces that don't drape as they were cut lose what isn't good of them; those
// that have nothing left are gone. What is left of the territories comes back in `left`.
PieceSet laidOut(const CoverGround& cover, const CoverWishes& wishes,
                 const std::vector<Territory>& territories, std::vector<Territory>& left);

} // namespace drape::host
