// The lines that make a drawing of the cloth: its outline and its fibres, as chains of nodes. Only cells on
// the surface count.
#pragma once

#include "host/cloth/grid.h"

namespace drape::host {

using NodeChain = std::vector<std::int32_t>; // 0-based nodes

// Closed loops (the first node isn't repeated) of the cell edges that have cloth on one side only. On the
// flat pattern the cloth lies to the left of each loop. Loops that meet in a node don't cross.
std::vector<NodeChain> outlineLoops(const Grid& grid, const std::vector<Cell>& cells);

enum class Fibre { warp, weft };

// Open chains along one fibre family, each `every`-th fibre of it.
std::vector<NodeChain> fibreLines(const Grid& grid, const std::vector<Cell>& cells, Fibre fibre,
                                  std::int32_t every);

} // namespace drape::host
