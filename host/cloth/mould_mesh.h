// A mould's triangles as a mesh again.
#pragma once

#include "host/cloth/mould.h"

namespace drape::host {

// In the mould's order.
TriangleMesh meshOf(const Mould& mould);

} // namespace drape::host
