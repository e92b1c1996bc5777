// The mould under a cell is found from the cell's open corners: from the triangles they lie on to every
// triangle that hangs together with these underneath the cell. So at a slit a cell that reaches over it sees
// its own side only, however close the other lies.
#include "host/cloth/underside.h"

#include "host/mesh/nearest_point.h"

#include <algorithm>
#include <functional>

namespace drape::host {

using namespace vec;

namespace {

constexpr double sameCorner = 1e-3; // cells; triangles this near to a foothold hang together with it

double distanceTo(const Segment& s, const Point& p) {
    return distance(p, nearestOnSegment(s.a, s.b, p));
}

} // namespace

Segment segmentOf(const Mould& mould, std::int32_t from, std::int32_t to) {
    return {mould.positions[at(from)], mould.positions[at(to)]};
}

Underside::Underside(const CellMap& cell, const Fence& fence, RegionSearch& search)
    : cell_(cell), fence_(fence), normal_(cell.normal()), search_(search) {
    ++search_.searches;
}

// Adds the triangles beside `triangle` over those edges that `passes` lets through.
template <class Passes>
void Underside::step(std::int32_t triangle, Passes passes) {
    for (std::size_t k = 0; k < 3; ++k) {
        const std::int32_t beyond = search_.edges.beyond[at(triangle)][k];
        if (beyond >= 0 && !has(beyond) &&
            passes(segmentOf(search_.mould, search_.mould.corners[3 * at(triangle) + k] - 1,
                             search_.mould.corners[3 * at(triangle) + (k + 1) % 3] - 1))) {
            add(beyond);
        }
    }
}

// Whether the point lies over the triangle as seen along the cell's normal, its rim included.
bool Underside::liesOver(const Point& p, std::int32_t triangle) const {
    constexpr double slack = 1e-9;
    const auto corner = [&](std::size_t k) { return search_.mould.corner(at(triangle), k); };
    const auto share = [&](const Point& a, const Point& b, const Point& c) {
        return dot(cross(b - a, c - a), normal_);
    };
    const double all = share(corner(0), corner(1), corner(2));
    return share(corner(0), corner(1), p) >= -slack * all && share(corner(1), corner(2), p) >= -slack * all &&
           share(corner(2), corner(0), p) >= -slack * all;
}

void Underside::add(std::int32_t triangle) {
    const auto corner = [&](std::size_t k) { return search_.mould.corner(at(triangle), k); };
    const Point normal = cross(corner(1) - corner(0), corner(2) - corner(0));
    if (!has(triangle) && dot(normal, normal_) > 0.0) {
        search_.reached[at(triangle)] = search_.searches;
        found_.push_back(triangle);
    }
}

double Underside::squareBetween(std::int32_t t, std::int32_t u) const {
    const Point way = search_.mould.facets[at(t)].centroid - search_.mould.facets[at(u)].centroid;
    return dot(way, way);
}

void Underside::reachFrom(const Foothold& foothold) {
    const auto meets = [&](const Segment& s) {
        return distanceTo(s, foothold.position) <= sameCorner * search_.step;
    };
    add(foothold.triangle);
    std::size_t known = found_.size();
    step(foothold.triangle, meets);
    for (; known < found_.size(); ++known) {
        step(found_[known], meets);
    }
}

void Underside::reachOn() {
    for (std::size_t k = 0; k < found_.size(); ++k) {
        step(found_[k], [&](const Segment& s) { return isUnder(s); });
    }
}

void Underside::reachOn(const std::vector<std::int32_t>& wanted) {
    using Open =
        std::pair<double, std::int32_t>; // the square of its distance from the wanted one, a triangle
    std::vector<Open> open;
    for (const std::int32_t triangle : found_) {
        open.emplace_back(0.0, triangle);
    }
    for (const std::int32_t triangle : wanted) {
        if (has(triangle)) {
            continue;
        }
        for (auto& [square, here] : open) {
            square = squareBetween(here, triangle);
        }
        std::make_heap(open.begin(), open.end(), std::greater<>());
        while (!open.empty() && !has(triangle)) {
            std::pop_heap(open.begin(), open.end(), std::greater<>());
            const std::int32_t here = open.back().second;
            open.pop_back();
            std::size_t known = found_.size();
            step(here, [&](const Segment& s) { return isUnder(s); });
            for (; known < found_.size(); ++known) {
                open.emplace_back(squareBetween(found_[known], triangle), found_[known]);
                std::push_heap(open.begin(), open.end(), std::greater<>());
            }
        }
    }
}

bool Underside::carries(const Foothold& foothold) const {
    constexpr double aside = 0.5 * sameCorner;
    std::size_t corner = 0;
    for (std::size_t k = 1; k < 4; ++k) {
        if (distance(cell_.corners[k], foothold.position) <
            distance(cell_.corners[corner], foothold.position)) {
            corner = k;
        }
    }
    const Point p =
        cell_.at(corner == 1 || corner == 2 ? 1.0 - aside : aside, corner >= 2 ? 1.0 - aside : aside);
    return std::any_of(found_.begin(), found_.end(), [&](std::int32_t t) { return liesOver(p, t); });
}

std::vector<std::int32_t> trianglesUnder(const CellMap& cell, const std::vector<Foothold>& footholds,
                                         RegionSearch& search) {
    const Fence fence(cell, search.step);
    Underside under(cell, fence, search);
    for (const Foothold& foothold : footholds) {
        under.reachFrom(foothold);
    }
    under.reachOn();
    std::vector<std::int32_t> triangles = under.found();
    std::sort(triangles.begin(), triangles.end());
    return triangles;
}

} // namespace drape::host
