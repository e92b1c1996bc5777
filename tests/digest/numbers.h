// Numbers that bring comparisons to their edges: small whole ones and halves, at which distances, products
// and tolerances meet exactly; the same one bit off; and numbers of no kind at all.
#pragma once

#include "report.h"

#include <array>
#include <cmath>

namespace drape_digest {

using Vector = std::array<double, 3>;

// The next number above (`up`) or below.
inline double neighbour(double value, bool up) {
    if (value == 0.0)
        return up ? 4.9406564584124654e-324 : -4.9406564584124654e-324;
    std::int64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    bits += (value > 0.0) == up ? 1 : -1;
    std::memcpy(&value, &bits, sizeof bits);
    return value;
}

enum class Kind { whole, halves, nearWhole, any };
constexpr const char* nameOf(Kind kind) {
    return kind == Kind::whole    ? "whole"
           : kind == Kind::halves ? "halves"
           : kind == Kind::any    ? "any"
                                  : "near";
}
constexpr Kind ALL_KINDS[] = {Kind::whole, Kind::halves, Kind::nearWhole, Kind::any};

inline double number(Block& block, Kind kind, int reach = 3) {
    if (kind == Kind::any)
        return block.random.between(-reach, reach);
    const double value =
        kind == Kind::halves ? 0.5 * block.within(-2 * reach, 2 * reach) : block.within(-reach, reach);
    if (kind != Kind::nearWhole || block.chance(0.5))
        return value;
    return neighbour(value, block.chance(0.5));
}

inline Vector vector(Block& block, Kind kind, int reach = 3) {
    Vector v{};
    for (double& x : v)
        x = number(block, kind, reach);
    return v;
}

// Of unit length: along an axis, or with whole components over a whole length, or any.
inline Vector unitVector(Block& block, Kind kind) {
    static constexpr double exact[][4] = {{1, 0, 0, 1}, {0, 1, 0, 1}, {0, 0, 1, 1}, {3, 4, 0, 5},
                                          {0, 3, 4, 5}, {4, 0, 3, 5}, {1, 2, 2, 3}, {2, 3, 6, 7}};
    Vector v{};
    if (kind != Kind::any) {
        const double* e = exact[block.below(kind == Kind::whole ? 3 : 8)];
        for (std::size_t k = 0; k < 3; ++k)
            v[k] = (block.chance(0.3) ? -e[k] : e[k]) / e[3];
        return v;
    }
    double length2 = 0.0;
    while (length2 < 0.01) {
        v = vector(block, kind, 1);
        length2 = v[0] * v[0] + v[1] * v[1] + v[2] * v[2];
    }
    for (double& x : v)
        x /= std::sqrt(length2);
    return v;
}

inline double tolerance(Block& block, Kind kind) {
    if (kind == Kind::any)
        return block.oneOf({0.0, 1e-12, 1e-6, 1e-3, 0.05, 0.3});
    return block.oneOf({0.0, 1e-9, 1e-3, 0.25, 0.5, 1.0, 2.0});
}

// A value, or one of its two neighbours.
inline double aboutEdge(Block& block, double value) {
    const int which = block.below(3);
    return which == 0 ? value : neighbour(value, which == 1);
}

// The number between `low` and `high` above which a decision comes out otherwise, to the last bit; `high` if
// it comes out alike at both.
template <class Decision>
double turningPoint(double low, double high, Decision decide) {
    const auto before = decide(low);
    if (decide(high) == before)
        return high;
    for (double middle = 0.5 * (low + high); low < middle && middle < high; middle = 0.5 * (low + high))
        (decide(middle) == before ? low : high) = middle;
    return high;
}

} // namespace drape_digest
