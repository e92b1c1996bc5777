// The numbers under which files of fibres name the cell over a triangle and the face it comes from.
#pragma once

#include "host/cloth/fibre_map.h"

namespace tool {

using namespace drape::host;

// 1-based number of the cell's first node, by which the grid file names it too; 0 for none.
inline std::int32_t cellName(const Measures& measures, const TriangleFibres& fibres) {
    return fibres.cell < 0 ? 0 : measures.cells[static_cast<std::size_t>(fibres.cell)].nodes[0] + 1;
}

// Number of the triangle's face in the file, 0 if it's not from there. `faceNumbers` as in a scene.
inline std::int64_t faceName(const Mould& mould, std::size_t t,
                             const std::vector<std::int64_t>& faceNumbers) {
    const std::int32_t face = t < mould.sourceFaces.size() ? mould.sourceFaces[t] : 0;
    return face > 0 && !faceNumbers.empty() ? faceNumbers[at(face) - 1] : face;
}

} // namespace tool
