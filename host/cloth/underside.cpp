// The mould under a cell is found from the cell's open corners: from the triangles they lie on to every
// triangle that hangs together with these underneath the cell. So at a slit a cell that reaches over it sees
// its own side only, however close the other lies.
#include "host/cloth/underside.h"

#include "host/mesh/nearest_point.h"

#include <algorithm>
#include <functional>
#include <utility>

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
    : cell_(cell), inside_(cell, fence, search.step), normal_(cell.normal()), search_(search) {
    ++search_.searches;
}

// Adds the triangles beside `triangle` over those edges that `passes` lets through.
template <class Passes>
void Underside::step(std::int32_t triangle, Passes passes) {
    for (std::size_t k = 0; k < 3; ++k) {
        const std::int32_t beyond = search_.edges.beyond[at(triangle)][k];
        if (beyond >= 0 && !has(beyond) &&
            passes(search_.mould.corners[3 * at(triangle) + k] - 1,
                   search_.mould.corners[3 * at(triangle) + (k + 1) % 3] - 1)) {
            add(beyond);
        }
    }
}

void Underside::stepUnder(std::int32_t triangle) {
    step(triangle, [&](std::int32_t from, std::int32_t to) {
        return inside_.reach(segmentOf(search_.mould, from, to), from, to);
    });
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
    const auto meets = [&](std::int32_t from, std::int32_t to) {
        return distanceTo(segmentOf(search_.mould, from, to), foothold.position) <= sameCorner * search_.step;
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
        stepUnder(found_[k]);
    }
}

void Underside::reachOn(const std::vector<EdgePart>& parts) {
    std::vector<char> followed(parts.size(), 0);
    for (std::size_t k = 0; k < parts.size(); ++k) {
        const std::int32_t triangle = search_.edges.boundary[at(parts[k].edge)].triangle;
        if (!has(triangle)) {
            reachStraight(triangle);
        }
        if (has(triangle)) {
            follow(k, parts, followed);
        }
    }
}

void Underside::reachStraight(std::int32_t wanted) {
    const auto toWanted = [&](std::int32_t triangle) {
        return Open{squareBetween(triangle, wanted), triangle};
    };
    for (Open& open : open_) {
        open = toWanted(open.second);
    }
    for (; listed_ < found_.size(); ++listed_) {
        open_.push_back(toWanted(found_[listed_]));
    }
    std::make_heap(open_.begin(), open_.end(), std::greater<>());
    while (!open_.empty() && !has(wanted)) {
        std::pop_heap(open_.begin(), open_.end(), std::greater<>());
        const std::int32_t here = open_.back().second;
        open_.pop_back();
        stepUnder(here);
        for (; listed_ < found_.size(); ++listed_) {
            open_.push_back(toWanted(found_[listed_]));
            std::push_heap(open_.begin(), open_.end(), std::greater<>());
        }
    }
}

// Goes on from part to part where their edges meet inside the cell: all that lies round such a vertex is
// underneath.
void Underside::follow(std::size_t first, const std::vector<EdgePart>& parts, std::vector<char>& followed) {
    std::vector<std::size_t> open{first};
    while (!open.empty()) {
        const EdgePart& part = parts[open.back()];
        const bool isNew = std::exchange(followed[open.back()], char{1}) == 0;
        open.pop_back();
        for (const bool forward : {false, true}) {
            const double end = forward ? part.samples.back().share : part.samples.front().share;
            const bool reachesEnd = isNew && end == (forward ? 1.0 : 0.0);
            const std::int32_t next = reachesEnd ? edgeRound(part.edge, forward) : -1;
            for (std::size_t k = 0; next >= 0 && k < parts.size(); ++k) {
                if (parts[k].edge == next && followed[k] == 0) {
                    open.push_back(k);
                }
            }
        }
    }
}

// Goes round the vertex at which a boundary edge ends or begins, to the other boundary edge there; -1 if a
// triangle between them faces away.
std::int32_t Underside::edgeRound(std::int32_t edge, bool forward) {
    const BoundaryEdge& from = search_.edges.boundary[at(edge)];
    const std::int32_t vertex = (forward ? from.to : from.from) + 1;
    for (std::int32_t here = from.triangle;;) {
        const auto corners = search_.mould.corners.begin() + 3 * static_cast<std::ptrdiff_t>(here);
        const auto corner = static_cast<std::size_t>(std::find(corners, corners + 3, vertex) - corners);
        const std::int32_t beyond = search_.edges.beyond[at(here)][(corner + (forward ? 0 : 2)) % 3];
        if (beyond < 0) {
            return -1 - beyond;
        }
        add(beyond);
        if (!has(beyond)) {
            return -1;
        }
        here = beyond;
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
