// A segment's image is sampled evenly, then halved where it bends, and cut where it crosses the cell's
// bounds. Most segments come nowhere near a cell, so cheap bounds go before the cell's map.
#include "host/cloth/edge_image.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

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
Shares sharesInSphere(const Segment& s, const Point& centre, double reach) {
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
    const FlatPoint middle{0.5 * (from.place[0] + to.place[0]), 0.5 * (from.place[1] + to.place[1])};
    if (flatDistance(*place, middle) <= bendAllowed) {
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

bool isInside(const FlatPoint& p) {
    return p[0] > -shift && p[0] < 1.0 - shift && p[1] > -shift && p[1] < 1.0 - shift;
}

// The parts of an image within the cell.
std::vector<Samples> clipped(const CellMap& cell, const Segment& s, double step, Samples image) {
    std::vector<Samples> parts;
    parts.push_back(std::move(image));
    if (std::all_of(parts[0].begin(), parts[0].end(), [](const Sample& x) { return isInside(x.place); })) {
        parts.resize(parts[0].size() < 2 ? 0 : 1);
        return parts;
    }
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

// What of a segment can come near the inside of a cell, as far as cheap bounds tell.
struct Approach {
    Approach(const Fence& fence, const Segment& s) : wanted(fence.sharesWithin(s)) {
        if (wanted[0] <= wanted[1]) {
            shares = fence.sharesAround(s);
        }
    }

    bool none() const { return !(wanted[0] <= wanted[1] && shares[0] < shares[1]); }

    Shares wanted;
    Shares shares{1.0, 0.0};
};

// Whether any part of a segment that approaches the cell is inside. Most often two samples beside each other
// settle it.
bool reachesInside(const CellMap& cell, const Fence& fence, const Segment& s, const Approach& approach,
                   double step) {
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

} // namespace

Fence::Fence(const CellMap& cell, double step)
    : origin_(cell.corners[0]), centre_(cell.at(0.5, 0.5)), reach_(reachOf(cell, centre_, step)) {
    constexpr double clear = 1e-3; // cells, far above rounding and the shift of the cell's bounds
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

Shares Fence::sharesWithin(const Segment& s) const {
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

Shares Fence::sharesAround(const Segment& s) const {
    return sharesInSphere(s, centre_, reach_);
}

std::vector<Samples> insideOf(const CellMap& cell, const Fence& fence, const Segment& s, double step) {
    const Approach approach(fence, s);
    std::vector<Samples> inside;
    if (!approach.none()) {
        for (Samples& image : imagesOf(cell, s, step, approach.shares, approach.wanted)) {
            for (Samples& part : clipped(cell, s, step, std::move(image))) {
                inside.push_back(std::move(part));
            }
        }
    }
    return inside;
}

EdgesInside::EdgesInside(const CellMap& cell, const Fence& fence, double step)
    : cell_(cell), fence_(fence), step_(step) {}

bool EdgesInside::reach(const Segment& s, std::int32_t from, std::int32_t to) {
    const Approach approach(fence_, s);
    if (approach.none()) {
        return false;
    }
    if (distance(s.a, s.b) <= sampling * step_) { // the ends are all its samples
        const std::optional<FlatPoint> a = placeOf(from, s.a);
        const std::optional<FlatPoint> b = placeOf(to, s.b);
        if (a && b && (isInside(*a) || isInside(*b))) {
            return true;
        }
    }
    return reachesInside(cell_, fence_, s, approach, step_);
}

const std::optional<FlatPoint>& EdgesInside::placeOf(std::int32_t vertex, const Point& position) {
    Placed& kept = placed_[static_cast<std::size_t>(vertex) % placed_.size()];
    if (kept.vertex != vertex) {
        kept = {vertex, placed(cell_, position, step_)};
    }
    return kept.place;
}

double withinCell(double x) {
    return std::clamp(x + shift, 0.0, 1.0);
}

} // namespace drape::host
