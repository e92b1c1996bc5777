// Vector arithmetic on triples of doubles.
//
// Every expression is evaluated as it is written, components in the order x, y, z: node numbers hang on
// ties that the last bit decides, so nothing here may be reassociated or contracted.
#pragma once

#include <cfloat>
#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

#if defined(__FAST_MATH__) || (defined(__FINITE_MATH_ONLY__) && __FINITE_MATH_ONLY__ > 0) ||                 \
    defined(_M_FP_FAST)
#error                                                                                                       \
    "Drape's results hang on every expression being evaluated as it is written: build it without fast-math."
#endif
#if FLT_EVAL_METHOD != 0
#error                                                                                                       \
    "Drape's results hang on every operation being rounded to double: on x86 build it with -msse2 -mfpmath=sse."
#endif

namespace drape {

static_assert(std::numeric_limits<double>::is_iec559 && std::numeric_limits<double>::digits == 53);

// Of numbers, or of several side by side.
template <class Real>
struct VecOf {
    Real x, y, z;
};
using Vec3 = VecOf<double>;

// Element `index` (1-based) of a packed array of triples.
inline Vec3 load(const double* triples, std::int64_t index = 1) {
    const double* p = triples + 3 * (index - 1);
    return {p[0], p[1], p[2]};
}

inline void store(double* triples, const Vec3& v, std::int64_t index = 1) {
    double* p = triples + 3 * (index - 1);
    p[0] = v.x;
    p[1] = v.y;
    p[2] = v.z;
}

template <class Real>
VecOf<Real> operator+(const VecOf<Real>& a, const VecOf<Real>& b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
template <class Real>
VecOf<Real> operator-(const VecOf<Real>& a, const VecOf<Real>& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
template <class Real>
VecOf<Real> operator-(const VecOf<Real>& a) {
    return {-a.x, -a.y, -a.z};
}
template <class Real>
VecOf<Real> operator*(const std::type_identity_t<Real>& s, const VecOf<Real>& v) {
    return {s * v.x, s * v.y, s * v.z};
}
template <class Real>
VecOf<Real> operator/(const VecOf<Real>& v, const std::type_identity_t<Real>& s) {
    return {v.x / s, v.y / s, v.z / s};
}

// Dot product.
template <class Real>
Real prosca(const VecOf<Real>& a, const VecOf<Real>& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

// Squared length.
template <class Real>
Real vor(const VecOf<Real>& v) {
    return prosca(v, v);
}

// Squared distance of two points.
template <class Real>
Real cadis(const VecOf<Real>& a, const VecOf<Real>& b) {
    return vor(a - b);
}

// Cross product, not normalised.
template <class Real>
VecOf<Real> parvis(const VecOf<Real>& a, const VecOf<Real>& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

// Scalar triple product a . (b x c), positive for a right-handed triple.
template <class Real>
Real promix(const VecOf<Real>& a, const VecOf<Real>& b, const VecOf<Real>& c) {
    return prosca(a, parvis(b, c));
}

// Brings v to unit length; a zero vector stays as it is.
inline void devor(Vec3& v) {
    const double length = std::sqrt(vor(v));
    if (length != 0.0)
        v = v / length;
}

// The cross product at unit length, or as it comes out where it has no length.
inline Vec3 unitNormal(const Vec3& a, const Vec3& b) {
    const Vec3 c = parvis(a, b);
    const double length = std::sqrt(vor(c));
    return length > 0.0 ? c / length : c;
}

} // namespace drape
