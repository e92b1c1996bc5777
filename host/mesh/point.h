// A point or direction in space and the arithmetic on it that a host's geometry needs.
#pragma once

#include <array>
#include <cmath>
#include <cstddef>
#include <span>

namespace drape::host {

using Point = std::array<double, 3>; // x, y, z in the mesh's unit

namespace vec {

inline Point add(const Point& a, const Point& b) {
    return {a[0] + b[0], a[1] + b[1], a[2] + b[2]};
}
inline Point subtract(const Point& a, const Point& b) {
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}
inline Point scale(const Point& a, double s) {
    return {a[0] * s, a[1] * s, a[2] * s};
}
inline double dot(const Point& a, const Point& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}
inline Point cross(const Point& a, const Point& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
inline double length(const Point& a) {
    return std::sqrt(dot(a, a));
}
inline double distance(const Point& a, const Point& b) {
    return length(subtract(a, b));
}

// Of a line from point to point.
inline double lengthOf(std::span<const Point> line) {
    double sum = 0.0;
    for (std::size_t k = 0; k + 1 < line.size(); ++k) {
        sum += distance(line[k], line[k + 1]);
    }
    return sum;
}

inline Point mix(const Point& a, const Point& b, double t) {
    return {a[0] + t * (b[0] - a[0]), a[1] + t * (b[1] - a[1]), a[2] + t * (b[2] - a[2])};
}
// A zero vector stays what it is.
inline Point unit(const Point& a) {
    const double l = length(a);
    return l > 0.0 ? scale(a, 1.0 / l) : a;
}
inline Point operator+(const Point& a, const Point& b) {
    return add(a, b);
}
inline Point operator-(const Point& a, const Point& b) {
    return subtract(a, b);
}
inline Point operator*(double s, const Point& a) {
    return scale(a, s);
}
inline double areaOf(const Point& a, const Point& b, const Point& c) {
    return 0.5 * length(cross(b - a, c - a));
}
inline bool isFinite(const Point& a) {
    return std::isfinite(a[0]) && std::isfinite(a[1]) && std::isfinite(a[2]);
}

// `value`, or 0 where it is infinite or not a number.
inline double finite(double value) {
    return std::isfinite(value) ? value : 0.0;
}

} // namespace vec
} // namespace drape::host
