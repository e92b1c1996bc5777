// The nearest point is straight below the point, or else on one of the edges or at a corner.
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

} // namespace drape::host
