// Places and directions on the pattern, by operations that give the same bits everywhere.
#pragma once

#include <array>
#include <cmath>

namespace drape::host {

using FlatPoint = std::array<double, 2>; // along warp and weft

inline double flatDistance(const FlatPoint& a, const FlatPoint& b) {
    const double x = b[0] - a[0];
    const double y = b[1] - a[1];
    return std::sqrt(x * x + y * y);
}

// Stands for the angle of a direction against (1, 0), for comparisons: it rises with the angle, from -2 for
// half a turn to the right over 0 to 2 for half a turn to the left, and close to 0 and to 2 it differs from
// those by the angle itself. 0 for a direction without length.
inline double angleRank(double x, double y) {
    const double sum = std::abs(x) + std::abs(y);
    return sum > 0.0 ? std::copysign(1.0 - x / sum, y) : 0.0;
}

} // namespace drape::host
