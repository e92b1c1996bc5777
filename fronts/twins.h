// Twins: further nodes at the place of existing ones, where a repair takes the grid apart.
#pragma once

#include "run/model.h"

namespace drape {

// Makes the twin of `node` in a row of direction `direction`, as number nodeCount: it takes over the way
// forward along the row and reaches back like its source, which keeps the forward link from the row behind.
// No status is set. False with a code of the node store.
bool splitNode(std::int32_t node, std::int32_t direction, std::int32_t& status);

// Makes twins of two neighbouring nodes, numbers nodeCount - 1 and nodeCount, joined to each other; that of
// `nodeA` takes over the link from the node before. False with 204 if `nodeB` is no neighbour, or with a code
// of the node store.
bool doubleEdge(std::int32_t nodeA, std::int32_t nodeB, std::int32_t& status);

// Whether some link of `nodeA` leads to `nodeB`.
bool areNeighbours(std::int32_t nodeA, std::int32_t nodeB);

} // namespace drape
