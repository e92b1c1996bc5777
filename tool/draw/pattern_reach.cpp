// Points that are no numbers reach nowhere.
#include "tool/draw/pattern_reach.h"

#include "host/mesh/box.h"

#include <algorithm>
#include <cmath>

namespace tool {

std::array<FlatPoint, 2> reachOf(const Scene& scene) {
    Box2 box;
    box.add({0.0, 0.0});
    const auto reach = [&](const FlatPoint& flat) {
        if (std::isfinite(flat[0]) && std::isfinite(flat[1])) {
            box.add(flat);
        }
    };
    for (const auto& loop : scene.cut->loops) {
        std::for_each(loop.begin(), loop.end(), reach);
    }
    for (const CurveResult& curve : scene.curves) {
        for (const CurveStretch& stretch : curve.stretches) {
            std::for_each(stretch.flat.begin(), stretch.flat.end(), reach);
        }
    }
    return {box.low, box.high};
}

} // namespace tool
