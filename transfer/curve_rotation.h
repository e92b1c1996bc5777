// Turning a closed curve so that another of its points is the first.
#pragma once

#include <cstdint>

namespace drape {

struct Curve {
    double* points;     // x, y, z per point
    double* directions; // x, y, z per point
    std::int32_t count;
};

// Entry i takes what stood at entry i + step, wrapping as often as it needs to. False with a code if the copy
// can't be had or given back.
bool rotateCurve(const Curve& curve, std::int64_t step, std::int32_t& status);

} // namespace drape
