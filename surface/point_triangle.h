// Distance from a point to a triangle.
#pragma once

#include "services/vectors.h"

#include <cstdint>

namespace drape {

struct TriangleDistance {
    double distance;
    std::int32_t location; // DRAPE_AT_VERTEX_A ... DRAPE_IN_INTERIOR
};

TriangleDistance distanceToTriangle(const Vec3& point, const Vec3& a, const Vec3& b, const Vec3& c,
                                    double tolerance);

} // namespace drape
