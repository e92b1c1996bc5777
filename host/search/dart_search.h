// Darts of a piece: from where its cloth would fold to its edge, along the way after which most can be
// covered.
#pragma once

#include "host/search/for_each.h"
#include "host/search/territory.h"

namespace drape::host {

// What the piece can cover with as many darts as it may get, each of which adds so much that it is worth its
// cut; without darts where none does. Its pattern doesn't lie over itself, so that it can be cut in one
// piece. The same for the same try, however `forEach` carries out the attempts.
Territory dartedTerritory(const CoverGround& cover, const PieceTry& piece, const ForEach& forEach);

} // namespace drape::host
