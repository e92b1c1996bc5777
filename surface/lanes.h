// Numbers side by side, on which box tests and the set-up work at once: four in single, two in double
// precision.
//
// Where the compiler has vector types they are these; elsewhere, or with DRAPE_PLAIN_LANES, plain arrays take
// their place, with the same results. A comparison gives lanes of all bits or none.
#pragma once

#include "services/vectors.h"

#include <cmath>
#include <cstdint>

#if defined(__SSE2__) && !defined(DRAPE_PLAIN_LANES)
#define DRAPE_SSE_LANES
#include <emmintrin.h>
#endif

namespace drape {

constexpr int LANES = 4;
constexpr int PAIR = 2;

#if defined(__GNUC__) && !defined(DRAPE_PLAIN_LANES)

// Work arrays promise no more than the alignment of their elements.
using FloatLanes = float __attribute__((vector_size(LANES * sizeof(float)), aligned(sizeof(float))));
using IntLanes = std::int32_t __attribute__((vector_size(LANES * sizeof(std::int32_t))));
using DoublePair = double __attribute__((vector_size(PAIR * sizeof(double))));
using IntPair = std::int64_t __attribute__((vector_size(PAIR * sizeof(std::int64_t))));

inline FloatLanes choose(const IntLanes& where, const FloatLanes& a, const FloatLanes& b) {
    return where ? a : b;
}

#else

template <class T, class Int, int COUNT>
struct Lanes {
    using Mask = Lanes<Int, Int, COUNT>;
    T lane[COUNT] = {};

    Lanes() = default;
    Lanes(T value) { // as a number stands beside lanes in an expression
        for (T& own : lane)
            own = value;
    }
    T& operator[](int k) { return lane[k]; }
    T operator[](int k) const { return lane[k]; }

    template <class Of>
    static Lanes of(const Of& value) {
        Lanes result;
        for (int k = 0; k < COUNT; ++k)
            result[k] = value(k);
        return result;
    }
    friend Lanes operator+(const Lanes& a, const Lanes& b) {
        return of([&](int k) { return a[k] + b[k]; });
    }
    friend Lanes operator-(const Lanes& a, const Lanes& b) {
        return of([&](int k) { return a[k] - b[k]; });
    }
    friend Lanes operator*(const Lanes& a, const Lanes& b) {
        return of([&](int k) { return a[k] * b[k]; });
    }
    friend Lanes operator/(const Lanes& a, const Lanes& b) {
        return of([&](int k) { return a[k] / b[k]; });
    }
    friend Lanes operator-(const Lanes& a) {
        return of([&](int k) { return -a[k]; });
    }
    friend Lanes& operator+=(Lanes& a, const Lanes& b) { return a = a + b; }
    friend Mask operator>(const Lanes& a, const Lanes& b) {
        return Mask::of([&](int k) { return a[k] > b[k] ? Int{-1} : Int{0}; });
    }
    friend Mask operator<(const Lanes& a, const Lanes& b) { return b > a; }
    friend Mask operator<=(const Lanes& a, const Lanes& b) {
        return Mask::of([&](int k) { return a[k] <= b[k] ? Int{-1} : Int{0}; });
    }
    friend Mask operator>=(const Lanes& a, const Lanes& b) { return b <= a; }
    friend Lanes operator&(const Lanes& a, const Lanes& b) {
        return of([&](int k) { return a[k] & b[k]; });
    }
    friend Lanes operator|(const Lanes& a, const Lanes& b) {
        return of([&](int k) { return a[k] | b[k]; });
    }
};
using FloatLanes = Lanes<float, std::int32_t, LANES>;
using IntLanes = Lanes<std::int32_t, std::int32_t, LANES>;
using DoublePair = Lanes<double, std::int64_t, PAIR>;
using IntPair = Lanes<std::int64_t, std::int64_t, PAIR>;

inline FloatLanes choose(const IntLanes& where, const FloatLanes& a, const FloatLanes& b) {
    return FloatLanes::of([&](int k) { return where[k] != 0 ? a[k] : b[k]; });
}

#endif

// One bit for each lane that holds any, the first lane's lowest.
inline unsigned maskOf(const IntLanes& lanes) {
#if defined(DRAPE_SSE_LANES)
    return static_cast<unsigned>(_mm_movemask_ps(reinterpret_cast<__m128>(lanes)));
#else
    unsigned mask = 0;
    for (int k = 0; k < LANES; ++k)
        mask |= (lanes[k] != 0 ? 1u : 0u) << k;
    return mask;
#endif
}
inline unsigned maskOfPair(const IntPair& lanes) {
#if defined(DRAPE_SSE_LANES)
    return static_cast<unsigned>(_mm_movemask_pd(reinterpret_cast<__m128d>(lanes)));
#else
    return (lanes[0] != 0 ? 1u : 0u) | (lanes[1] != 0 ? 2u : 0u);
#endif
}

inline int firstOf(unsigned mask) { // of the lanes in a mask that isn't empty
    int lane = 0;
    while ((mask >> lane & 1u) == 0)
        ++lane;
    return lane;
}

// Of two numbers where both are such; where one isn't, the second.
inline FloatLanes smallerOf(const FloatLanes& a, const FloatLanes& b) {
#if defined(DRAPE_SSE_LANES)
    return _mm_min_ps(a, b);
#else
    return choose(b > a, a, b);
#endif
}
inline FloatLanes largerOf(const FloatLanes& a, const FloatLanes& b) {
#if defined(DRAPE_SSE_LANES)
    return _mm_max_ps(a, b);
#else
    return choose(a > b, a, b);
#endif
}

inline DoublePair pairOf(double first, double second) {
    DoublePair pair = {};
    pair[0] = first;
    pair[1] = second;
    return pair;
}
inline DoublePair twice(double value) {
    return pairOf(value, value);
}
inline DoublePair choose(const IntPair& where, const DoublePair& a, const DoublePair& b) {
#if defined(__GNUC__) && !defined(DRAPE_PLAIN_LANES)
    return where ? a : b;
#else
    return pairOf(where[0] != 0 ? a[0] : b[0], where[1] != 0 ? a[1] : b[1]);
#endif
}
inline DoublePair smallerOf(const DoublePair& a, const DoublePair& b) {
#if defined(DRAPE_SSE_LANES)
    return _mm_min_pd(a, b);
#else
    return pairOf(a[0] < b[0] ? a[0] : b[0], a[1] < b[1] ? a[1] : b[1]);
#endif
}
inline DoublePair largerOf(const DoublePair& a, const DoublePair& b) {
#if defined(DRAPE_SSE_LANES)
    return _mm_max_pd(a, b);
#else
    return pairOf(a[0] > b[0] ? a[0] : b[0], a[1] > b[1] ? a[1] : b[1]);
#endif
}
inline DoublePair rootOf(const DoublePair& a) {
#if defined(DRAPE_SSE_LANES)
    return _mm_sqrt_pd(a);
#else
    return pairOf(std::sqrt(a[0]), std::sqrt(a[1]));
#endif
}

// The same of single numbers, so that one formula serves both.
inline double smallerOf(double a, double b) {
    return a < b ? a : b;
}
inline double largerOf(double a, double b) {
    return a > b ? a : b;
}
inline double choose(bool where, double a, double b) {
    return where ? a : b;
}

// Each lane of the result is the smallest of a row.
inline FloatLanes smallestOfEach(const FloatLanes (&rows)[LANES]) {
#if defined(DRAPE_SSE_LANES)
    __m128 a = rows[0], b = rows[1], c = rows[2], d = rows[3];
    _MM_TRANSPOSE4_PS(a, b, c, d);
    return _mm_min_ps(_mm_min_ps(a, b), _mm_min_ps(c, d));
#else
    FloatLanes result = {};
    for (int k = 0; k < LANES; ++k) {
        result[k] = rows[k][0];
        for (int lane = 1; lane < LANES; ++lane)
            result[k] = rows[k][lane] < result[k] ? rows[k][lane] : result[k];
    }
    return result;
#endif
}
inline FloatLanes largestOfEach(const FloatLanes (&rows)[LANES]) {
    const FloatLanes negative[LANES] = {-rows[0], -rows[1], -rows[2], -rows[3]};
    return -smallestOfEach(negative);
}

// Two vectors side by side.
using PairVec = VecOf<DoublePair>;
inline PairVec pairOf(const Vec3& first, const Vec3& second) {
    return {pairOf(first.x, second.x), pairOf(first.y, second.y), pairOf(first.z, second.z)};
}
inline PairVec twice(const Vec3& v) {
    return pairOf(v, v);
}

// Two pairs in single precision.
inline FloatLanes narrowed(const DoublePair& first, const DoublePair& second) {
#if defined(DRAPE_SSE_LANES)
    return _mm_movelh_ps(_mm_cvtpd_ps(first), _mm_cvtpd_ps(second));
#else
    FloatLanes lanes = {};
    for (int k = 0; k < PAIR; ++k) {
        lanes[k] = static_cast<float>(first[k]);
        lanes[PAIR + k] = static_cast<float>(second[k]);
    }
    return lanes;
#endif
}

} // namespace drape
