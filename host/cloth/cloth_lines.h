// The fibres of the cloth as chains of nodes. Only cells on the surface count.
#pragma once

#include "host/cloth/grid.h"

namespace drape::host {

using NodeChain = std::vector<std::int32_t>; // 0-based nodes

enum class Fibre { warp, weft };

// Open chains along one fibre family, each `every`-th fibre of it.
std::vector<NodeChain> fibreLines(const Grid& grid, const std::vector<Cell>& cells, Fibre fibre,
                                  std::int32_t every);

} // namespace drape::host
