// How much of a mould the cloth leaves bare.
#pragma once

#include "host/cloth/net_faces.h"

namespace drape::host {

// Per triangle of the mould, in its unit squared. `faces` are those of `measures`.
std::vector<double> bareAreas(const Mould& mould, const Grid& grid, const Measures& measures,
                              const std::vector<NetFace>& faces);

} // namespace drape::host
