// How far a pattern reaches, whatever it is drawn with.
#pragma once

#include "tool/draw/scene.h"

namespace tool {

// Low and high corner of all that is drawn of the pattern, in the mould's unit. The seed counts.
std::array<FlatPoint, 2> reachOf(const Scene& scene);

} // namespace tool
