// The surface on which a ply lies once there are plies below it: the mould moved out by their thickness.
#pragma once

#include "host/cloth/surface.h"

namespace drape::host {

// Thickness of the plies below on each triangle of the mould, in its unit.
using Thickness = std::vector<double>;

// The surface moved along its normals by the thickness around each vertex. Where that would fold, at a radius
// tighter than the thickness, it is moved only as far as it doesn't; a note says where and by how much less.
Surface builtUp(const Surface& surface, const Thickness& thickness, Notes& notes);

} // namespace drape::host
