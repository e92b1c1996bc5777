// The mould under a cell is found from the cell's open corners: from the triangles they lie on to every
// triangle that hangs together with these underneath the cell. So at a slit a cell that reaches over it sees
// its own side only, however close the other lies. The boundary edges among these triangles are cut to the
// cell and joined to arcs; from where an arc leaves, the outline of the region runs counter-clockwise along
// the rim to where the next arc enters.
#include "host/cloth/net_region.h"

#include "host/mesh/nearest_point.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <map>

namespace drape::host {

using namespace vec;

namespace {

// A cell reaches from this much below 0 to as much below 1, in u and v. So of two cells beside each other one
// has the side between them, and an edge of the mould that runs along it lies in one of them.
constexpr double shift = 1e-7;       // cells
constexpr double bendAllowed = 2e-4; // cells, of an edge's image off the straight line between two places
constexpr int mostHalvings = 7;
constexpr double sampling = 0.25;     // cells between the first places of an edge
constexpr double heightAllowed = 1.0; // cells that the mould may stand off a cell that lies over it
constexpr double sameCorner = 1e-3;   // cells; triangles this near to a foothold hang together with it
constexpr double sameRim = 1e-9;      // cells along the rim

// A straight line in space, of which `share` 0 to 1 runs from a to b.
struct Segment {
    Point a, b;
};

struct Sample {
    double share = 0.0;
    FlatPoint place{};
};

using Samples = std::vector<Sample>;
using Shares =
    std::array<double, 2>; // from and to along a segment, empty where the first is above the second

double reachOf(const CellMap& cell, const Point& centre, double step) {
    double reach = 0.0;
    for (const Point& corner : cell.corners) {
        reach = std::max(reach, distance(corner, centre));
    }
    return reach + heightAllowed * step;
}

std::optional<FlatPoint> placed(const CellMap& cell, const Point& point, double step) {
    const auto place = cell.placeOf(point);
    if (!place || std::abs(place->height) > heightAllowed * step) {
        return std::nullopt;
    }
    return FlatPoint{place->u, place->v};
}

// The shares between which a segment lies within `reach` of `centre`.
Shares sharesWithin(const Segment& s, const Point& centre, double reach) {
    const Point d = s.b - s.a;
    const Point w = s.a - centre;
    const double square = dot(d, d);
    if (!(square > 0.0)) {
        return {1.0, 0.0};
    }
    const double middle = -dot(w, d) / square;
    const double under = middle * middle - (dot(w, w) - reach * reach) / square;
    if (!(under >= 0.0)) {
        return {1.0, 0.0};
    }
    return {std::max(0.0, middle - std::sqrt(under)), std::min(1.0, middle + std::sqrt(under))};
}

bool isNearCell(const FlatPoint& p) {
    return p[0] > -0.5 && p[0] < 1.5 && p[1] > -0.5 && p[1] < 1.5;
}

// Adds places between `from` and `to` until straight lines stand for the image; `to` itself isn't added.
void addBetween(const CellMap& cell, const Segment& s, double step, const Sample& from, const Sample& to,
                int halvings, Samples& samples) {
    if (halvings == 0 || !(isNearCell(from.place) || isNearCell(to.place))) {
        return;
    }
    const double share = 0.5 * (from.share + to.share);
    const auto place = placed(cell, mix(s.a, s.b, share), step);
    if (!place) {
        return;
    }
    const double bend = std::hypot((*place)[0] - 0.5 * (from.place[0] + to.place[0]),
                                   (*place)[1] - 0.5 * (from.place[1] + to.place[1]));
    if (bend <= bendAllowed) {
        return;
    }
    const Sample between{share, *place};
    addBetween(cell, s, step, from, between, halvings - 1, samples);
    samples.push_back(between);
    addBetween(cell, s, step, between, to, halvings - 1, samples);
}

// The shares at which a segment's image is sampled between `from` and `to`.
struct Sampling {
    Sampling(const Segment& s, double step, const Shares& shares)
        : from(shares[0]), to(shares[1]),
          parts(std::max(1,
                         static_cast<int>(std::ceil(distance(s.a, s.b) * (to - from) / (sampling * step))))) {
    }

    double share(int k) const { return k == parts ? to : from + (to - from) * k / parts; }

    double from, to;
    int parts;
};

// The images of a segment's stretches that the cell's map takes in. Of the samples before and behind
// `wanted` only the nearest are needed.
std::vector<Samples> imagesOf(const CellMap& cell, const Segment& s, double step, const Shares& shares,
                              const Shares& wanted) {
    std::vector<Samples> images;
    const Sampling at(s, step, shares);
    std::optional<Sample> before;
    for (int k = 0; k <= at.parts && (k == 0 || at.share(k - 1) <= wanted[1]); ++k) {
        const double share = at.share(k);
        if (k < at.parts && at.share(k + 1) < wanted[0]) {
            continue;
        }
        const auto place = placed(cell, mix(s.a, s.b, share), step);
        if (!place) {
            before.reset();
            continue;
        }
        const Sample here{share, *place};
        if (before) {
            addBetween(cell, s, step, *before, here, mostHalvings, images.back());
        } else {
            images.emplace_back();
        }
        images.back().push_back(here);
        before = here;
    }
    return images;
}

// Where the segment crosses the line on which coordinate `axis` is `bound`, between two places of its image.
Sample crossing(const CellMap& cell, const Segment& s, double step, Sample low, Sample high, std::size_t axis,
                double bound) {
    constexpr int rounds = 8;
    Sample best = low;
    for (int k = 0; k < rounds; ++k) {
        const double t = (bound - low.place[axis]) / (high.place[axis] - low.place[axis]);
        best.share = low.share + t * (high.share - low.share);
        const auto place = placed(cell, mix(s.a, s.b, best.share), step);
        best.place = place.value_or(FlatPoint{low.place[0] + t * (high.place[0] - low.place[0]),
                                              low.place[1] + t * (high.place[1] - low.place[1])});
        const double off = best.place[axis] - bound;
        if (!place || std::abs(off) < 1e-13) {
            break;
        }
        ((off < 0.0) == (low.place[axis] < bound) ? low : high) = best;
    }
    best.place[axis] = bound;
    return best;
}

// The parts of an image within the cell.
std::vector<Samples> clipped(const CellMap& cell, const Segment& s, double step, const Samples& image) {
    std::vector<Samples> parts{image};
    for (const std::size_t axis : {std::size_t{0}, std::size_t{1}}) {
        for (const double sense : {1.0, -1.0}) {
            const double bound = sense > 0.0 ? -shift : 1.0 - shift;
            const auto inside = [&](const Sample& x) { return sense * (x.place[axis] - bound) > 0.0; };
            std::vector<Samples> kept;
            for (const Samples& part : parts) {
                bool open = false;
                for (std::size_t k = 0; k < part.size(); ++k) {
                    const bool in = inside(part[k]);
                    if (in && !open) {
                        kept.emplace_back();
                        if (k > 0) {
                            kept.back().push_back(crossing(cell, s, step, part[k - 1], part[k], axis, bound));
                        }
                    }
                    if (in) {
                        kept.back().push_back(part[k]);
                    } else if (open) {
                        kept.back().push_back(crossing(cell, s, step, part[k - 1], part[k], axis, bound));
                    }
                    open = in;
                }
            }
            parts = std::move(kept);
        }
    }
    std::erase_if(parts, [](const Samples& part) { return part.size() < 2; });
    return parts;
}

// Planes along a cell's four sides, between which all lies that the cell's map takes in: every place is a
// mixture of the corners, each moved along its normal by the height that is allowed at most.
class Fence {
public:
    Fence(const CellMap& cell, double step) : origin_(cell.corners[0]) {
        const Point normal = cell.normal();
        for (std::size_t k = 0; k < 4; ++k) {
            out_[k] = unit(cross(cell.corners[(k + 1) % 4] - cell.corners[k], normal));
            far_[k] = -std::numeric_limits<double>::infinity();
            for (std::size_t c = 0; c < 4; ++c) {
                const double height = std::abs(heightAllowed * step * dot(cell.normals[c], out_[k]));
                far_[k] = std::max(far_[k], dot(cell.corners[c] - origin_, out_[k]) + height);
            }
            far_[k] += clear * step;
        }
    }

    // The shares between which a segment lies beyond none of the planes.
    Shares sharesWithin(const Segment& s) const {
        Shares shares{0.0, 1.0};
        for (std::size_t k = 0; k < 4; ++k) {
            const double a = dot(s.a - origin_, out_[k]) - far_[k];
            const double b = dot(s.b - origin_, out_[k]) - far_[k];
            if (a > 0.0 && b > 0.0) {
                return {1.0, 0.0};
            }
            if (a > 0.0) {
                shares[0] = std::max(shares[0], a / (a - b));
            } else if (b > 0.0) {
                shares[1] = std::min(shares[1], a / (a - b));
            }
        }
        return shares;
    }

private:
    static constexpr double clear = 1e-3; // cells, far above rounding and the shift of the cell's bounds

    Point origin_;
    std::array<Point, 4> out_{};
    std::array<double, 4> far_{};
};

// What of a segment can come near the inside of a cell, as far as cheap bounds tell.
struct Approach {
    Approach(const CellMap& cell, const Fence& fence, const Segment& s, double step)
        : wanted(fence.sharesWithin(s)) {
        if (wanted[0] <= wanted[1]) {
            const Point centre = cell.at(0.5, 0.5);
            shares = sharesWithin(s, centre, reachOf(cell, centre, step));
        }
    }

    bool none() const { return !(wanted[0] <= wanted[1] && shares[0] < shares[1]); }

    Shares wanted;
    Shares shares{1.0, 0.0};
};

// The parts of a segment inside the cell.
std::vector<Samples> insideOf(const CellMap& cell, const Fence& fence, const Segment& s, double step) {
    const Approach approach(cell, fence, s, step);
    std::vector<Samples> inside;
    if (!approach.none()) {
        for (const Samples& image : imagesOf(cell, s, step, approach.shares, approach.wanted)) {
            for (Samples& part : clipped(cell, s, step, image)) {
                inside.push_back(std::move(part));
            }
        }
    }
    return inside;
}

bool isInside(const FlatPoint& p) {
    return p[0] > -shift && p[0] < 1.0 - shift && p[1] > -shift && p[1] < 1.0 - shift;
}

// Whether any part of a segment is. Most often two samples beside each other settle it.
bool reachesInside(const CellMap& cell, const Fence& fence, const Segment& s, double step) {
    const Approach approach(cell, fence, s, step);
    if (approach.none()) {
        return false;
    }
    const Sampling at(s, step, approach.shares);
    auto before = placed(cell, mix(s.a, s.b, at.share(0)), step);
    for (int k = 1; k <= at.parts; ++k) {
        const auto here = placed(cell, mix(s.a, s.b, at.share(k)), step);
        if (here && before && (isInside(*here) || isInside(*before))) {
            return true;
        }
        before = here;
    }
    return !insideOf(cell, fence, s, step).empty();
}

Segment segmentOf(const Mould& mould, std::int32_t from, std::int32_t to) {
    return {mould.positions[at(from)], mould.positions[at(to)]};
}

double distanceTo(const Segment& s, const Point& p) {
    return distance(p, nearestOnSegment(s.a, s.b, p));
}

// The walk over the mould underneath one cell.
class Underside {
public:
    Underside(const CellMap& cell, const Fence& fence, RegionSearch& search)
        : cell_(cell), fence_(fence), normal_(cell.normal()), search_(search) {
        ++search_.searches;
    }

    // Marks the triangles around a foothold, then all that hang together with them under the cell.
    void reachFrom(const Foothold& foothold) {
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
    void reachOn() {
        for (std::size_t k = 0; k < found_.size(); ++k) {
            step(found_[k], [&](const Segment& s) { return isUnder(s); });
        }
    }

    // The same, but only until it has come to each of `wanted` that it can come to, straight at them.
    void reachOn(const std::vector<std::int32_t>& wanted) {
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

    // Whether mould lies under the cell right beside a foothold's corner.
    bool carries(const Foothold& foothold) const {
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

    const std::vector<std::int32_t>& found() const { return found_; }

    bool has(std::int32_t triangle) const { return search_.reached[at(triangle)] == search_.searches; }

private:
    // Whether the point lies over the triangle as seen along the cell's normal, its rim included.
    bool liesOver(const Point& p, std::int32_t triangle) const {
        constexpr double slack = 1e-9;
        const auto corner = [&](std::size_t k) { return search_.mould.corner(at(triangle), k); };
        const auto share = [&](const Point& a, const Point& b, const Point& c) {
            return dot(cross(b - a, c - a), normal_);
        };
        const double all = share(corner(0), corner(1), corner(2));
        return share(corner(0), corner(1), p) >= -slack * all &&
               share(corner(1), corner(2), p) >= -slack * all &&
               share(corner(2), corner(0), p) >= -slack * all;
    }

    void add(std::int32_t triangle) {
        const auto corner = [&](std::size_t k) { return search_.mould.corner(at(triangle), k); };
        const Point normal = cross(corner(1) - corner(0), corner(2) - corner(0));
        if (!has(triangle) && dot(normal, normal_) > 0.0) {
            search_.reached[at(triangle)] = search_.searches;
            found_.push_back(triangle);
        }
    }

    bool isUnder(const Segment& s) const { return reachesInside(cell_, fence_, s, search_.step); }

    double squareBetween(std::int32_t t, std::int32_t u) const {
        const Point way = search_.mould.facets[at(t)].centroid - search_.mould.facets[at(u)].centroid;
        return dot(way, way);
    }

    // Adds the triangles beside `triangle` over those edges that `passes` lets through.
    template <class Passes>
    void step(std::int32_t triangle, Passes passes) {
        for (std::size_t k = 0; k < 3; ++k) {
            const std::int32_t beyond = search_.edges.beyond[at(triangle)][k];
            if (beyond >= 0 && !has(beyond) &&
                passes(segmentOf(search_.mould, search_.mould.corners[3 * at(triangle) + k] - 1,
                                 search_.mould.corners[3 * at(triangle) + (k + 1) % 3] - 1))) {
                add(beyond);
            }
        }
    }

    const CellMap& cell_;
    const Fence& fence_;
    Point normal_;
    RegionSearch& search_;
    std::vector<std::int32_t> found_;
};

double scaled(double x) {
    return std::clamp(x + shift, 0.0, 1.0);
}

// Place on the rim, 0 to 4, of a place at or near it: the nearest.
double onRim(const FlatPoint& p) {
    const double x = scaled(p[0]);
    const double y = scaled(p[1]);
    const std::array<double, 4> away{y, 1.0 - x, 1.0 - y, x};
    switch (std::min_element(away.begin(), away.end()) - away.begin()) {
    case 0:
        return x;
    case 1:
        return 1.0 + y;
    case 2:
        return 3.0 - x;
    default:
        return y == 1.0 ? 3.0 : 4.0 - y;
    }
}

FlatPoint rimPlace(double rim) {
    const double r = rim >= 4.0 ? rim - 4.0 : rim;
    return r < 1.0   ? FlatPoint{r, 0.0}
           : r < 2.0 ? FlatPoint{1.0, r - 1.0}
           : r < 3.0 ? FlatPoint{3.0 - r, 1.0}
                     : FlatPoint{0.0, 4.0 - r};
}

// A part of a boundary edge inside the cell.
struct EdgePart {
    std::int32_t edge;
    Samples samples;
    bool used = false;
};

// Joins the parts to arcs, from edge to following edge where these meet inside the cell.
std::vector<NetArc> arcsOf(std::vector<EdgePart>& parts, const MouldEdges& edges) {
    std::map<std::int32_t, std::size_t> startingAt; // edge, part that starts with the edge itself
    std::map<std::int32_t, bool> followed;          // edges whose start an earlier part runs into
    for (std::size_t k = 0; k < parts.size(); ++k) {
        if (parts[k].samples.front().share == 0.0) {
            startingAt[parts[k].edge] = k;
        }
    }
    const auto following = [&](const EdgePart& part) {
        const auto found = part.samples.back().share == 1.0
                               ? startingAt.find(edges.boundary[at(part.edge)].next)
                               : startingAt.end();
        return found == startingAt.end() ? parts.size() : found->second;
    };
    std::vector<char> entered(parts.size(), 0);
    for (const EdgePart& part : parts) {
        if (const std::size_t next = following(part); next < parts.size()) {
            entered[next] = 1;
        }
    }
    std::vector<NetArc> arcs;
    for (const bool fromStarts : {true, false}) {
        for (std::size_t first = 0; first < parts.size(); ++first) {
            if (parts[first].used || (fromStarts && entered[first] != 0)) {
                continue;
            }
            NetArc arc;
            std::size_t k = first;
            for (; k < parts.size() && !parts[k].used; k = following(parts[k])) {
                parts[k].used = true;
                for (const Sample& sample : parts[k].samples) {
                    // Two edges share the place at which they meet.
                    if (arc.places.empty() || sample.share > 0.0 || &sample != &parts[k].samples.front()) {
                        arc.places.push_back({parts[k].edge,
                                              sample.share,
                                              {scaled(sample.place[0]), scaled(sample.place[1])}});
                    }
                }
            }
            arc.closed = k == first;
            if (arc.closed) {
                arc.places.pop_back();
            } else {
                arc.enters = onRim(arc.places.front().place);
                arc.leaves = onRim(arc.places.back().place);
            }
            arcs.push_back(std::move(arc));
        }
    }
    return arcs;
}

// An arc's end on the rim.
struct RimEnd {
    double rim;
    double angle; // of the arc inside the cell against the rim's own direction, 0 to pi
    bool enters;
    std::size_t arc;
};

double angleAt(const NetArc& arc, bool start, double rim) {
    constexpr std::array<FlatPoint, 4> along{{{1.0, 0.0}, {0.0, 1.0}, {-1.0, 0.0}, {0.0, -1.0}}};
    const FlatPoint& end = start ? arc.places.front().place : arc.places.back().place;
    const FlatPoint& next = start ? arc.places[1].place : arc.places[arc.places.size() - 2].place;
    const FlatPoint& t = along[static_cast<std::size_t>(rim) % 4];
    const double dx = next[0] - end[0];
    const double dy = next[1] - end[1];
    return std::abs(std::atan2(t[0] * dy - t[1] * dx, t[0] * dx + t[1] * dy));
}

// The ends in their order along the rim. Of ends at one place, the one whose arc turns back furthest comes
// first; a slit without width is entered before it is left.
std::vector<RimEnd> rimEnds(const std::vector<NetArc>& arcs) {
    std::vector<RimEnd> ends;
    for (std::size_t a = 0; a < arcs.size(); ++a) {
        if (!arcs[a].closed) {
            ends.push_back({arcs[a].enters, angleAt(arcs[a], true, arcs[a].enters), true, a});
            ends.push_back({arcs[a].leaves, angleAt(arcs[a], false, arcs[a].leaves), false, a});
        }
    }
    std::sort(ends.begin(), ends.end(), [](const RimEnd& a, const RimEnd& b) { return a.rim < b.rim; });
    for (std::size_t k = 0; k < ends.size();) {
        std::size_t end = k + 1;
        while (end < ends.size() && ends[end].rim - ends[k].rim <= sameRim) {
            ++end;
        }
        const auto from = ends.begin() + static_cast<std::ptrdiff_t>(k);
        const auto to = ends.begin() + static_cast<std::ptrdiff_t>(end);
        std::stable_sort(from, to, [](const RimEnd& a, const RimEnd& b) {
            constexpr double sameAngle = 1e-6;
            if (std::abs(a.angle - b.angle) > sameAngle) {
                return a.angle > b.angle;
            }
            return a.enters && !b.enters;
        });
        k = end;
    }
    return ends;
}

// Adds the rim from `from` counter-clockwise to `to` (above it) to the region and to a polygon.
void walkRim(double from, double to, CellRegion& region, std::vector<FlatPoint>& polygon) {
    double at = from;
    while (at < to) {
        const double corner = std::floor(at) + 1.0;
        const double next = std::min(corner, to);
        const double turn = at >= 4.0 ? 4.0 : 0.0;
        region.rim.push_back({at - turn, next - turn});
        if (next < to || next == corner) {
            polygon.push_back(rimPlace(next >= 4.0 ? next - 4.0 : next));
        }
        at = next;
    }
}

void addPlaces(const NetArc& arc, std::vector<FlatPoint>& polygon) {
    const auto add = [&](const FlatPoint& place) {
        if (polygon.empty() || polygon.back() != place) {
            polygon.push_back(place);
        }
    };
    if (!arc.closed) {
        add(rimPlace(arc.enters));
    }
    for (const EdgePlace& place : arc.places) {
        add(place.place);
    }
    if (!arc.closed) {
        add(rimPlace(arc.leaves));
    }
}

// Outlines the region by its arcs and the rim between them.
void close(CellRegion& region) {
    const std::vector<RimEnd> ends = rimEnds(region.arcs);
    std::vector<std::size_t> endOf(region.arcs.size(), 0); // where each arc leaves
    for (std::size_t k = 0; k < ends.size(); ++k) {
        if (!ends[k].enters) {
            endOf[ends[k].arc] = k;
        }
    }
    std::vector<char> used(ends.size(), 0);
    for (std::size_t first = 0; first < ends.size(); ++first) {
        if (!ends[first].enters || used[first] != 0) {
            continue;
        }
        std::vector<FlatPoint> polygon;
        std::size_t entry = first;
        do {
            used[entry] = 1;
            const NetArc& arc = region.arcs[ends[entry].arc];
            addPlaces(arc, polygon);
            const std::size_t leaving = endOf[ends[entry].arc];
            std::size_t next = leaving;
            double turns = 0.0;
            do {
                turns += next + 1 == ends.size() ? 4.0 : 0.0;
                next = (next + 1) % ends.size();
            } while (!ends[next].enters || (used[next] != 0 && next != first));
            walkRim(ends[leaving].rim, ends[next].rim + turns, region, polygon);
            entry = next;
        } while (entry != first);
        region.polygons.push_back(std::move(polygon));
    }
}

bool standsOnAllCorners(const CellMap& cell, const std::vector<Foothold>& footholds) {
    return std::all_of(cell.corners.begin(), cell.corners.end(), [&](const Point& corner) {
        return std::any_of(footholds.begin(), footholds.end(),
                           [&](const Foothold& foothold) { return foothold.position == corner; });
    });
}

void fill(CellRegion& region) {
    for (int side = 0; side < 4; ++side) {
        region.rim.push_back({side + 0.0, side + 1.0});
    }
    region.polygons.push_back({{0.0, 0.0}, {1.0, 0.0}, {1.0, 1.0}, {0.0, 1.0}});
}

} // namespace

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

CellRegion regionOf(const CellMap& cell, const std::vector<Foothold>& footholds,
                    const std::vector<std::int32_t>& near, RegionSearch& search) {
    CellRegion region;
    const Fence fence(cell, search.step);
    std::vector<EdgePart> parts;
    std::vector<std::int32_t> ended; // triangles whose edges the parts are of
    for (const std::int32_t e : near) {
        const BoundaryEdge& edge = search.edges.boundary[at(e)];
        const Segment s = segmentOf(search.mould, edge.from, edge.to);
        for (Samples& samples : insideOf(cell, fence, s, search.step)) {
            parts.push_back({e, std::move(samples)});
            ended.push_back(edge.triangle);
        }
    }
    if (parts.empty() && standsOnAllCorners(cell, footholds)) {
        region.whole = true;
        fill(region);
        return region;
    }
    Underside under(cell, fence, search);
    for (const Foothold& foothold : footholds) {
        under.reachFrom(foothold);
    }
    const bool carried = std::any_of(footholds.begin(), footholds.end(),
                                     [&](const Foothold& foothold) { return under.carries(foothold); });
    if (!parts.empty()) {
        under.reachOn(ended);
        std::erase_if(parts, [&](const EdgePart& part) {
            return !under.has(search.edges.boundary[at(part.edge)].triangle);
        });
    }
    region.arcs = arcsOf(parts, search.edges);
    close(region);
    std::vector<std::vector<FlatPoint>> inner;
    bool open = carried; // nothing but holes inside a cell that carries
    for (const NetArc& arc : region.arcs) {
        if (arc.closed) {
            addPlaces(arc, inner.emplace_back());
        }
        open = open && arc.closed && signedArea(inner.back()) <= 0.0;
    }
    region.whole = open && region.arcs.empty();
    if (open) {
        fill(region);
    }
    region.polygons.insert(region.polygons.end(), inner.begin(), inner.end());
    return region;
}

std::vector<EdgePlace> trackOf(const CellMap& cell, const RegionSearch& search, std::int32_t edge,
                               double from, double to) {
    const BoundaryEdge& e = search.edges.boundary[at(edge)];
    const auto images =
        imagesOf(cell, segmentOf(search.mould, e.from, e.to), search.step, {from, to}, {from, to});
    std::vector<EdgePlace> track;
    if (images.size() == 1 && images.front().front().share == from && images.front().back().share == to) {
        for (const Sample& sample : images.front()) {
            track.push_back({edge, sample.share, {scaled(sample.place[0]), scaled(sample.place[1])}});
        }
    }
    return track;
}

} // namespace drape::host
