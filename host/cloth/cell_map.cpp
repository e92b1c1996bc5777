// The place is found by Newton's method in u, v and height at once, from the middle of the cell.
#include "host/cloth/cell_map.h"

#include <cmath>

namespace drape::host {

using namespace vec;

namespace {

constexpr int mostRounds = 20;
constexpr double settled = 1e-13;   // cells
constexpr double farthest = 4.0;    // cells from the middle, beyond which the search has gone astray
constexpr double nearEnough = 1e-6; // cells, for a search that creeps on by rounding alone

Point mixed(const std::array<Point, 4>& p, double u, double v) {
    return mix(mix(p[0], p[1], u), mix(p[3], p[2], u), v);
}

} // namespace

Point CellMap::at(double u, double v, double height) const {
    return mixed(corners, u, v) + height * mixed(normals, u, v);
}

std::optional<CellSpot> CellMap::placeOf(const Point& point) const {
    CellSpot place{0.5, 0.5, 0.0};
    double moved = 0.0;
    for (int round = 0; round < mostRounds; ++round) {
        const Point n = mixed(normals, place.u, place.v);
        const Point off = point - (mixed(corners, place.u, place.v) + place.height * n);
        const auto along = [&](const std::array<Point, 4>& p) {
            return mix(p[1] - p[0], p[2] - p[3], place.v);
        };
        const auto across = [&](const std::array<Point, 4>& p) {
            return mix(p[3] - p[0], p[2] - p[1], place.u);
        };
        const Point du = along(corners) + place.height * along(normals);
        const Point dv = across(corners) + place.height * across(normals);
        const Point toV = cross(dv, n);
        const double volume = dot(du, toV);
        const double u = dot(off, toV) / volume;
        const double v = dot(off, cross(n, du)) / volume;
        const double height = dot(off, cross(du, dv)) / volume;
        place.u += u;
        place.v += v;
        place.height += height;
        // A comparison that a not-a-number fails as well.
        if (!(std::abs(place.u - 0.5) < farthest && std::abs(place.v - 0.5) < farthest)) {
            return std::nullopt;
        }
        moved = std::abs(u) + std::abs(v);
        if (moved < settled) {
            return place;
        }
    }
    return moved < nearEnough ? std::optional(place) : std::nullopt;
}

Point CellMap::normal() const {
    return unit(cross(corners[2] - corners[0], corners[3] - corners[1]));
}

bool CellMap::isConvex() const {
    const Point n = normal();
    for (std::size_t k = 0; k < 4; ++k) {
        const Point before = corners[k] - corners[(k + 3) % 4];
        const Point after = corners[(k + 1) % 4] - corners[k];
        if (!(dot(cross(before, after), n) > 0.0)) {
            return false;
        }
    }
    return true;
}

} // namespace drape::host
