// A point carried from one triangle to another.
//
// The point's barycentric coordinates in the source triangle, taken at its foot in that triangle's plane,
// build the same point of the target triangle. Nothing is clamped.
#include "drape.h"
#include "services/vectors.h"

#include <cmath>

extern "C" int32_t nptfpt(const double* source, const double* target, const double* point, double* mapped,
                          int32_t* status) {
    using drape::load;
    const drape::Vec3 e1 = load(source, 2) - load(source, 1);
    const drape::Vec3 e2 = load(source, 3) - load(source, 1);
    const drape::Vec3 w = load(point) - load(source, 1);
    const double g11 = prosca(e1, e1);
    const double g12 = prosca(e1, e2);
    const double g22 = prosca(e2, e2);
    const double p = prosca(e1, w);
    const double q = prosca(e2, w);
    const double det = g11 * g22 - g12 * g12;
    if (det == 0.0 || std::isnan(det)) {
        *status = DRAPE_SOURCE_TRIANGLE_FLAT;
        return 1;
    }
    const double u = (g22 * p - g12 * q) / det;
    const double v = (g11 * q - g12 * p) / det;
    const double l = 1.0 - u - v;
    drape::store(mapped, u * load(target, 2) + l * load(target, 1) + v * load(target, 3));
    *status = DRAPE_OK;
    return 0;
}
