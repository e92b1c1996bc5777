// Whether a flood comes to a triangle, told by a straight way there instead of the flood itself.
#pragma once

#include "surface/triangle_bounds.h"

namespace drape {

// Whether the flood from `start`, which goes on from there, comes to `goal`, which is in range of all balls.
// The way goes over vertices ever nearer to `towards`, a place on the goal. False says only that there is no
// such way.
bool floodReaches(std::int32_t goal, const Vec3& towards, std::int32_t start, const Ball* balls,
                  int ballCount);

} // namespace drape
