// Where the pieces of a set meet.
#pragma once

#include "host/mesh/topology.h"
#include "host/search/cover.h"

namespace drape::host {

// Adds the seams of a set and their lengths. `neighbours` are those of the triangles of its claims.
void addSeams(PieceSet& cover, const Neighbours& neighbours);

} // namespace drape::host
