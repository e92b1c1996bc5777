// The nearest point is straight below the point, or else on one of the edges or at a corner. The shares go by
// the region of the triangle's plane that the point projects into.
#include "host/mesh/nearest_point.h"

#include <algorithm>

namespace drape::host {

using namespace vec;

double shareOnSegment(const Point& a, const Point& b, const Point& p) {
    const Point ab = b - a;
    const double square = dot(ab, ab);
    return square > 0.0 ? std::clamp(dot(p - a, ab) / square, 0.0, 1.0) : 0.0;
}

Point nearestOnSegment(const Point& a, const Point& b, const Point& p) {
    return mix(a, b, shareOnSegment(a, b, p));
}

Point nearestOnTriangle(const Point& a, const Point& b, const Point& c, const Point& p) {
    const Point n = cross(b - a, c - a);
    const bool inside = dot(cross(b - a, p - a), n) >= 0.0 && dot(cross(c - b, p - b), n) >= 0.0 &&
                        dot(cross(a - c, p - c), n) >= 0.0 && dot(n, n) > 0.0;
    if (inside) {
        return p - (dot(p - a, n) / dot(n, n)) * n;
    }
    Point best = nearestOnSegment(a, b, p);
    for (const Point& q : {nearestOnSegment(b, c, p), nearestOnSegment(c, a, p)}) {
        if (distance(q, p) < distance(best, p)) {
            best = q;
        }
    }
    return best;
}

std::array<double, 2> nearestShares(const Point& a, const Point& b, const Point& c, const Point& p) {
    const Point ab = b - a;
    const Point ac = c - a;
    const Point ap = p - a;
    const double d1 = dot(ab, ap);
    const double d2 = dot(ac, ap);
    if (d1 <= 0.0 && d2 <= 0.0) {
        return {0.0, 0.0};
    }
    const Point bp = p - b;
    const double d3 = dot(ab, bp);
    const double d4 = dot(ac, bp);
    if (d3 >= 0.0 && d4 <= d3) {
        return {1.0, 0.0};
    }
    const Point cp = p - c;
    const double d5 = dot(ab, cp);
    const double d6 = dot(ac, cp);
    if (d6 >= 0.0 && d5 <= d6) {
        return {0.0, 1.0};
    }
    const double vc = d1 * d4 - d3 * d2;
    if (vc <= 0.0 && d1 >= 0.0 && d3 <= 0.0) {
        return {d1 / (d1 - d3), 0.0};
    }
    const double vb = d5 * d2 - d1 * d6;
    if (vb <= 0.0 && d2 >= 0.0 && d6 <= 0.0) {
        return {0.0, d2 / (d2 - d6)};
    }
    const double va = d3 * d6 - d5 * d4;
    if (va <= 0.0 && d4 >= d3 && d5 >= d6) {
        const double share = (d4 - d3) / ((d4 - d3) + (d5 - d6));
        return {1.0 - share, share};
    }
    return {vb / (va + vb + vc), vc / (va + vb + vc)};
}

} // namespace drape::host
