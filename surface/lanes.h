// Four numbers side by side, on which a box test works at once.
//
// Where the compiler has vector types they are these; elsewhere, or with DRAPE_PLAIN_LANES, plain arrays take
// their place, with the same results. A comparison gives lanes of all bits or none.
#pragma once

#include <cstdint>

#if defined(__SSE2__) && !defined(DRAPE_PLAIN_LANES)
#include <emmintrin.h>
#endif

namespace drape {

constexpr int LANES = 4;

#if defined(__GNUC__) && !defined(DRAPE_PLAIN_LANES)

// Work arrays promise no more than the alignment of their elements.
using FloatLanes = float __attribute__((vector_size(LANES * sizeof(float)), aligned(sizeof(float))));
using IntLanes = std::int32_t __attribute__((vector_size(LANES * sizeof(std::int32_t))));

inline FloatLanes choose(const IntLanes& where, const FloatLanes& a, const FloatLanes& b) {
    return where ? a : b;
}

#else

template <class T>
struct Lanes {
    T lane[LANES] = {};

    Lanes() = default;
    Lanes(T value) { // as a number stands beside lanes in an expression
        for (T& own : lane)
            own = value;
    }
    T& operator[](int k) { return lane[k]; }
    T operator[](int k) const { return lane[k]; }
};
using FloatLanes = Lanes<float>;
using IntLanes = Lanes<std::int32_t>;

template <class Result, class Of>
Result inEachLane(const Of& of) {
    Result result;
    for (int k = 0; k < LANES; ++k)
        result[k] = of(k);
    return result;
}

inline FloatLanes operator+(const FloatLanes& a, const FloatLanes& b) {
    return inEachLane<FloatLanes>([&](int k) { return a[k] + b[k]; });
}
inline FloatLanes operator-(const FloatLanes& a, const FloatLanes& b) {
    return inEachLane<FloatLanes>([&](int k) { return a[k] - b[k]; });
}
inline FloatLanes operator*(const FloatLanes& a, const FloatLanes& b) {
    return inEachLane<FloatLanes>([&](int k) { return a[k] * b[k]; });
}
inline FloatLanes operator-(const FloatLanes& a) {
    return inEachLane<FloatLanes>([&](int k) { return -a[k]; });
}
inline FloatLanes& operator+=(FloatLanes& a, const FloatLanes& b) {
    return a = a + b;
}
inline IntLanes operator>(const FloatLanes& a, const FloatLanes& b) {
    return inEachLane<IntLanes>([&](int k) { return a[k] > b[k] ? -1 : 0; });
}
inline IntLanes operator<=(const FloatLanes& a, const FloatLanes& b) {
    return inEachLane<IntLanes>([&](int k) { return a[k] <= b[k] ? -1 : 0; });
}
inline IntLanes operator>=(const FloatLanes& a, const FloatLanes& b) {
    return b <= a;
}
inline IntLanes operator&(const IntLanes& a, const IntLanes& b) {
    return inEachLane<IntLanes>([&](int k) { return a[k] & b[k]; });
}
inline FloatLanes choose(const IntLanes& where, const FloatLanes& a, const FloatLanes& b) {
    return inEachLane<FloatLanes>([&](int k) { return where[k] != 0 ? a[k] : b[k]; });
}

#endif

// One bit for each lane that holds any, the first lane's lowest.
inline unsigned maskOf(const IntLanes& lanes) {
#if defined(__SSE2__) && !defined(DRAPE_PLAIN_LANES)
    return static_cast<unsigned>(_mm_movemask_ps(reinterpret_cast<__m128>(lanes)));
#else
    unsigned mask = 0;
    for (int k = 0; k < LANES; ++k)
        mask |= (lanes[k] != 0 ? 1u : 0u) << k;
    return mask;
#endif
}

} // namespace drape
