// A point for a node whose circle doesn't meet the surface.
#pragma once

#include "run/model.h"

namespace drape {

struct FallbackPoint {
    Vec3 point{}, normal{};
};

// The point of the circle in the plane of the nearest boundary triangle; `forward` has unit length. False
// with status 18, 19 or 20, and `found` as it was.
bool fallBackToBoundary(const Vec3& centre, const Vec3& planeNormal, const Vec3& forward, double radius,
                        const std::int32_t* foundList, std::int32_t foundCount, double tolerance,
                        FallbackPoint& found, std::int32_t& status);

} // namespace drape
