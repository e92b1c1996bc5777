// A bow is small if neither the cloth's edge nor the mould's takes more than a few cells from one end to the
// other. A point of it that lies over one of the cells beside the cloth's edge has its place there, as where
// the mould's edge bows into the next cell or stands off a side that cuts its corner. Elsewhere the maps of
// the cells at both ends are carried on and have to agree; they are mixed from the one to the other along the
// way.
#include "host/cloth/net_tips.h"

#include <cmath>
#include <optional>

namespace drape::host {

using namespace vec;

namespace {

constexpr double longestWay = 4.0;   // cells, along the cloth's edge and along the mould's
constexpr double largestTip = 2.0;   // cells of area
constexpr double farthest = 1.25;    // cells beyond the cell whose map is carried on
constexpr double mapsDisagree = 0.5; // cells between where two cells put the same point
constexpr double spacing = 0.1;      // cells between points along the way
constexpr double overRim = 1e-3;     // cells outside a cell that count as over it

class Beyond {
public:
    explicit Beyond(const ClothRegions& all) : all_(all), step_(std::max(all.cloth.stepA, all.cloth.stepB)) {}

    // `before` is the point from which the line came to `run`, a run of cloth edges; `after` the point at its
    // end. Leaves `tip` empty if the run stays as it is.
    Outline carried(const OutlinePoint& before, const Outline& run, const OutlinePoint& after,
                    Tip& tip) const {
        const OutlinePoint& from = run.front();
        if (from.edge < 0 || after.edge < 0 || lengthOf(run, after) > longestWay * step_) {
            return run;
        }
        Outline way = wayAlong(from, after);
        if (way.empty() || !place(way, run, before.cell, after)) {
            return isJog(run, after) ? asBeyond(run) : run;
        }
        tip.cell = before.cell;
        for (const OutlinePoint& point : way) {
            tip.polygon.push_back(point.flat);
        }
        tip.polygon.push_back(after.flat);
        for (std::size_t k = run.size(); k-- > 1;) {
            tip.polygon.push_back(run[k].flat);
        }
        if (std::abs(signedArea(tip.polygon)) > largestTip * all_.cloth.stepA * all_.cloth.stepB) {
            tip.polygon.clear();
            return run;
        }
        return way;
    }

private:
    static double lengthOf(const Outline& run, const OutlinePoint& after) {
        double length = flatDistance(run.back().flat, after.flat);
        for (std::size_t k = 0; k + 1 < run.size(); ++k) {
            length += flatDistance(run[k].flat, run[k + 1].flat);
        }
        return length;
    }

    // Points on the mould's edge from `from` up to `to`, which isn't one of them; none if that is too far.
    Outline wayAlong(const OutlinePoint& from, const OutlinePoint& to) const {
        Outline way;
        double left = longestWay * step_;
        std::int32_t edge = from.edge;
        double share = from.share;
        for (std::size_t count = 0; count < all_.edges.boundary.size(); ++count) {
            const BoundaryEdge& e = all_.edges.boundary[at(edge)];
            const Point& a = all_.mould.positions[at(e.from)];
            const Point& b = all_.mould.positions[at(e.to)];
            const bool last = edge == to.edge && share <= to.share;
            const double end = last ? to.share : 1.0;
            const double length = (end - share) * distance(a, b);
            left -= length;
            if (left < 0.0) {
                break;
            }
            const int parts = std::max(1, static_cast<int>(std::ceil(length / (spacing * step_))));
            for (int p = 0; p < parts; ++p) {
                const double here = share + (end - share) * p / parts;
                way.push_back(
                    {from.flat, mix(a, b, here), NetBorder::beyond, edge, here, from.cell, from.cell});
            }
            if (last) {
                return way;
            }
            edge = e.next;
            share = 0.0;
        }
        return {};
    }

    std::optional<FlatPoint> flatBeyond(std::size_t cell, const Point& p) const {
        const JoinedCell& joined = all_.cloth.cells[cell];
        const auto spot = all_.cloth.mapOf(all_.grid, joined).placeOf(p);
        if (!spot || std::abs(spot->u - 0.5) > 0.5 + farthest || std::abs(spot->v - 0.5) > 0.5 + farthest ||
            std::abs(spot->height) > step_) {
            return std::nullopt;
        }
        return flatIn(all_.grid, joined, {spot->u, spot->v});
    }

    // The place on the pattern of a point that lies over one of the cells beside a run.
    std::optional<FlatPoint> flatOver(const Outline& run, const Point& p) const {
        for (const OutlinePoint& stretch : run) {
            for (const std::size_t c : {stretch.beside, stretch.cell}) {
                const JoinedCell& joined = all_.cloth.cells[c];
                const auto spot = all_.cloth.mapOf(all_.grid, joined).placeOf(p);
                if (spot && std::abs(spot->u - 0.5) <= 0.5 + overRim &&
                    std::abs(spot->v - 0.5) <= 0.5 + overRim && std::abs(spot->height) <= step_) {
                    return flatIn(all_.grid, joined, {spot->u, spot->v});
                }
            }
        }
        return std::nullopt;
    }

    // Gives all points of the way but the first their place on the pattern; false if a map doesn't reach
    // there.
    bool place(Outline& way, const Outline& run, std::size_t cell, const OutlinePoint& after) const {
        for (std::size_t k = 1; k < way.size(); ++k) {
            if (const auto over = flatOver(run, way[k].space)) {
                way[k].flat = *over;
                continue;
            }
            const double t = static_cast<double>(k) / static_cast<double>(way.size());
            const auto a = flatBeyond(cell, way[k].space);
            const auto b = flatBeyond(after.cell, way[k].space);
            if (!a || !b || flatDistance(*a, *b) > mapsDisagree * step_) {
                return false;
            }
            way[k].flat = {(*a)[0] + t * ((*b)[0] - (*a)[0]), (*a)[1] + t * ((*b)[1] - (*a)[1])};
        }
        return true;
    }

    // Whether a run joins two places on the mould's edge that are one but for what two cells' maps disagree,
    // as at the end of a cut.
    bool isJog(const Outline& run, const OutlinePoint& after) const {
        const OutlinePoint& from = run.front();
        return distance(from.space, after.space) <= mapsDisagree * step_ &&
               lengthOf(run, after) <= mapsDisagree * step_ &&
               (!wayAlong(from, after).empty() || !wayAlong(after, from).empty());
    }

    static Outline asBeyond(Outline run) {
        for (OutlinePoint& point : run) {
            point.border = NetBorder::beyond;
        }
        return run;
    }

    const ClothRegions& all_;
    double step_;
};

} // namespace

Outline carriedBeyond(const ClothRegions& all, const Outline& line, std::vector<Tip>& tips) {
    const auto point = [&](std::size_t k) -> const OutlinePoint& { return line[k % line.size()]; };
    std::size_t start = 0;
    while (start < line.size() && line[start].border == NetBorder::cloth) {
        ++start;
    }
    if (start == line.size()) {
        return line;
    }
    const Beyond beyond(all);
    Outline result;
    for (std::size_t k = start; k < start + line.size();) {
        if (point(k).border != NetBorder::cloth) {
            result.push_back(point(k));
            ++k;
            continue;
        }
        Outline run;
        const OutlinePoint& before = point(k + line.size() - 1);
        for (; point(k).border == NetBorder::cloth; ++k) {
            run.push_back(point(k));
        }
        Tip tip;
        const Outline way = beyond.carried(before, run, point(k), tip);
        result.insert(result.end(), way.begin(), way.end());
        if (!tip.polygon.empty()) {
            tips.push_back(std::move(tip));
        }
    }
    return result;
}

} // namespace drape::host
