// The best shaped ear goes first, so quads split along the diagonal that gives the better triangles. That
// costs the cube of the corners, so larger polygons take any ear, and those beyond all measure a plain fan.
#include "host/mesh/polygon_triangles.h"

#include "host/mesh/point.h"

#include <algorithm>

namespace drape::host {

using namespace vec;
namespace {

using Ring = std::vector<std::int32_t>;

constexpr std::size_t mostForBestEar = 100;
constexpr std::size_t mostForEars = 3000;

Point meanNormal(const Ring& ring, const std::vector<Point>& positions) {
    Point sum{};
    const Point& origin = positions[static_cast<std::size_t>(ring[0])];
    for (std::size_t i = 1; i + 1 < ring.size(); ++i) {
        sum = sum + cross(positions[static_cast<std::size_t>(ring[i])] - origin,
                          positions[static_cast<std::size_t>(ring[i + 1])] - origin);
    }
    return unit(sum);
}

// Twice the area of a triangle as seen against `normal`, negative if it turns the other way.
double turning(const Point& a, const Point& b, const Point& c, const Point& normal) {
    return dot(cross(b - a, c - a), normal);
}

// Shape of the ear at position i: 0 for none, the more the better; below 0 where it isn't to be cut.
double earQuality(const Ring& ring, std::size_t i, const std::vector<Point>& positions, const Point& normal) {
    const std::size_t n = ring.size();
    const auto point = [&](std::size_t k) -> const Point& {
        return positions[static_cast<std::size_t>(ring[k % n])];
    };
    const Point& a = point(i + n - 1);
    const Point& b = point(i);
    const Point& c = point(i + 1);
    const double area = turning(a, b, c, normal);
    if (!(area > 0.0)) {
        return -1.0;
    }
    for (std::size_t k = 2; k + 1 < n; ++k) {
        const Point& p = point(i + k);
        if (turning(a, b, p, normal) > 0.0 && turning(b, c, p, normal) > 0.0 &&
            turning(c, a, p, normal) > 0.0) {
            return -1.0;
        }
    }
    const double sides = dot(b - a, b - a) + dot(c - b, c - b) + dot(a - c, a - c);
    return area / sides;
}

} // namespace

void appendTriangles(const std::vector<std::int32_t>& polygon, const std::vector<Point>& positions,
                     std::vector<Triangle>& triangles) {
    // Of equal ears that at the lowest vertex goes, whichever way round the polygon is told.
    const auto lowest = std::min_element(polygon.begin(), polygon.end());
    if (polygon.size() == 3) {
        Triangle& triangle = triangles.emplace_back();
        std::rotate_copy(polygon.begin(), lowest, polygon.end(), triangle.begin());
        return;
    }
    Ring ring(polygon.size());
    std::rotate_copy(polygon.begin(), lowest, polygon.end(), ring.begin());
    const Point normal = meanNormal(ring, positions);
    std::size_t start = 0;
    while (ring.size() > 3) {
        std::size_t best = 0;
        double quality = -2.0;
        for (std::size_t step = 0; step < ring.size() && polygon.size() <= mostForEars; ++step) {
            const std::size_t i = (start + step) % ring.size();
            // A quad's ear leaves a triangle whose shape counts as much.
            double q = earQuality(ring, i, positions, normal);
            if (ring.size() == 4) {
                q = std::min(q, earQuality(ring, (i + 2) % 4, positions, normal));
            }
            if (q > quality) {
                quality = q;
                best = i;
            }
            if (quality > 0.0 && polygon.size() > mostForBestEar) {
                break;
            }
        }
        start = best;
        const std::size_t n = ring.size();
        triangles.push_back({ring[(best + n - 1) % n], ring[best], ring[(best + 1) % n]});
        ring.erase(ring.begin() + static_cast<std::ptrdiff_t>(best));
    }
    triangles.push_back({ring[0], ring[1], ring[2]});
}

} // namespace drape::host
