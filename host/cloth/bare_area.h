// How much of a mould the cloth leaves bare.
#pragma once

#include "host/cloth/net_faces.h"

namespace drape::host {

// In the mould's unit squared. `faces` are those of `measures`.
double bareArea(const Mould& mould, const Grid& grid, const Measures& measures,
                const std::vector<NetFace>& faces);

} // namespace drape::host
