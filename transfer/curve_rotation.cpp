// Turning a closed curve so that another of its points is the first.
//
// Points and directions are turned alike, each through one copy of the whole array.
#include "transfer/curve_rotation.h"

#include "drape.h"
#include "services/work_arrays.h"

#include <algorithm>

namespace drape {
namespace {

void rotateTriples(double* triples, double* copy, std::int64_t count, std::int64_t shift) {
    std::copy(triples, triples + 3 * count, copy);
    double* rest = std::copy(copy + 3 * shift, copy + 3 * count, triples);
    std::copy(copy, copy + 3 * shift, rest);
}

} // namespace

bool rotateCurve(const Curve& curve, std::int64_t step, std::int32_t& status) {
    status = DRAPE_OK;
    const std::int64_t count = curve.count;
    WorkArray<double> copy;
    if (copy.take(3 * count, status) && count > 0) {
        const std::int64_t shift = (step % count + count) % count;
        rotateTriples(curve.points, copy.data(), count, shift);
        rotateTriples(curve.directions, copy.data(), count, shift);
    }
    copy.release(status);
    return status == DRAPE_OK;
}

} // namespace drape

extern "C" int32_t uzftrt(const int32_t* step, const int32_t* count, double* points, double* directions,
                          int32_t* status) {
    return drape::rotateCurve({points, directions, *count}, *step, *status) ? 0 : 1;
}
