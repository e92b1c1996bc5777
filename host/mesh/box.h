// The smallest box along the axes that holds a set of points, in a plane or in space.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>

namespace drape::host {

// Empty until a point is added: then `low` is above `high`.
template <std::size_t Axes>
struct Box {
    using Corner = std::array<double, Axes>;

    Corner low = filled(std::numeric_limits<double>::infinity());
    Corner high = filled(-std::numeric_limits<double>::infinity());

    void add(const Corner& point) {
        for (std::size_t k = 0; k < Axes; ++k) {
            low[k] = std::min(low[k], point[k]);
            high[k] = std::max(high[k], point[k]);
        }
    }

    bool empty() const { return low[0] > high[0]; }

private:
    static constexpr Corner filled(double value) {
        Corner corner{};
        for (double& x : corner) {
            x = value;
        }
        return corner;
    }
};

using Box2 = Box<2>;
using Box3 = Box<3>;

// Of any range of points.
template <class Points>
Box3 boxOf(const Points& points) {
    Box3 box;
    for (const auto& point : points) {
        box.add(point);
    }
    return box;
}

} // namespace drape::host
