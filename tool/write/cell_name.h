// The number under which files of fibres name the cell over a triangle.
#pragma once

#include "host/cloth/fibre_map.h"

namespace tool {

using namespace drape::host;

// 1-based number of the cell's first node, by which the grid file names it too; 0 for none.
inline std::int32_t cellName(const Measures& measures, const TriangleFibres& fibres) {
    return fibres.cell < 0 ? 0 : measures.cells[static_cast<std::size_t>(fibres.cell)].nodes[0] + 1;
}

} // namespace tool
