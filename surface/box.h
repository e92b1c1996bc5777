// Boxes along the axes.
#pragma once

#include "services/vectors.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace drape {

struct Box {
    Vec3 low, high;

    // Inside out, so that it overlaps nothing and whatever it takes in becomes its extent.
    static constexpr Box nothing() {
        constexpr double endless = std::numeric_limits<double>::infinity();
        return {{endless, endless, endless}, {-endless, -endless, -endless}};
    }
    void include(const Vec3& p) {
        low = {std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z)};
        high = {std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z)};
    }

    bool overlaps(const Box& other) const {
        return low.x <= other.high.x && other.low.x <= high.x && low.y <= other.high.y &&
               other.low.y <= high.y && low.z <= other.high.z && other.low.z <= high.z;
    }
};

// In single precision, for bounds that have to stay on their side: the share is just above what is rounded
// off.
inline float roundedDown(double value) {
    return static_cast<float>(value - (std::fabs(value) * 6e-8 + 1e-44));
}
inline float roundedUp(double value) {
    return static_cast<float>(value + (std::fabs(value) * 6e-8 + 1e-44));
}

} // namespace drape
