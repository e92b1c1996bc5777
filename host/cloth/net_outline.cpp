// The outline of a cell's region is closed, and so is the sum of all of them; what two cells run through in
// opposite senses falls out of the sum. Along each side the regions' stretches are laid over each other, cut
// at every end, and what is left over runs from cut to cut. Cuts and corners are the knots at which the
// pieces are chained.
#include "host/cloth/net_outline.h"

#include "host/mesh/counting_sort.h"
#include "host/mesh/nearest_point.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>
#include <span>
#include <tuple>

namespace drape::host {

using namespace vec;

namespace {

constexpr double sameCut = 1e-5;      // cells between ends on a side that count as one
constexpr double straightBack = 3e-4; // radians off half a turn within which a line turns back
constexpr double alongEdge = 1e-3;    // cells; a side this near to the mould's edge ends with it

// One cell's stretch of its own side; `low` and `high` are the places that the side joins.
struct SideUse {
    std::int32_t low, high;
    std::int32_t cell;
    std::int32_t side;
    bool forward; // the cell's own sense, counter-clockwise, runs from low to high
};

std::vector<SideUse> sideUses(const ClothRegions& all) {
    std::vector<SideUse> uses;
    uses.reserve(4 * all.cloth.cells.size());
    for (std::size_t c = 0; c < all.cloth.cells.size(); ++c) {
        const auto& knots = all.cloth.cells[c].knots;
        for (std::size_t k = 0; k < 4; ++k) {
            const std::int32_t from = knots[k];
            const std::int32_t to = knots[(k + 1) % 4];
            uses.push_back({std::min(from, to), std::max(from, to), static_cast<std::int32_t>(c),
                            static_cast<std::int32_t>(k), from < to});
        }
    }
    // Those of one side stay by rising cell.
    countingSort(uses, [](const SideUse& use) { return use.high; });
    countingSort(uses, [](const SideUse& use) { return use.low; });
    return uses;
}

// A knot of the outline.
struct Knot {
    FlatPoint flat{};
    Point space{};
};

// A piece of the outline between two knots, with what lies between them.
struct Piece {
    std::size_t from, to;
    std::vector<OutlinePoint> inner;
    OutlinePoint first; // at `from`
    OutlinePoint last;  // at `to`, for its place on the mould's edge
};

class Sum {
public:
    explicit Sum(const ClothRegions& all) : all_(all) {
        addSides();
        addArcs();
    }

    std::vector<Piece> pieces;
    std::vector<Knot> knots;
    std::vector<Outline> closed; // pieces of the mould's edge that meet no side

private:
    struct Cut {
        double share;
        std::size_t knot;
    };
    using Side = std::pair<std::int32_t, std::int32_t>;

    const CellRegion* regionOf(std::int32_t cell) const {
        const std::int32_t r = all_.regionOf[at(cell)];
        return r < 0 ? nullptr : &all_.regions[at(r)];
    }

    bool isWhole(const SideUse& use) const { return all_.regionOf[at(use.cell)] < 0; }

    std::size_t knotAtPlace(std::int32_t place) {
        const auto [found, isNew] = placeKnots_.try_emplace(place, knots.size());
        if (isNew) {
            knots.push_back({nodeFlat(all_.grid, place), nodePosition(all_.grid, place)});
        }
        return found->second;
    }

    // Stretches of a use along its side, from low (0) to high (1).
    std::vector<std::array<double, 2>> stretchesOf(const SideUse& use) const {
        const CellRegion* region = regionOf(use.cell);
        if (region == nullptr) {
            return {{0.0, 1.0}};
        }
        std::vector<std::array<double, 2>> stretches;
        for (const auto& [from, to] : region->rim) {
            if (static_cast<std::int32_t>(0.5 * (from + to)) == use.side) {
                const double a = from - use.side;
                const double b = to - use.side;
                stretches.push_back(use.forward ? std::array{a, b} : std::array{1.0 - b, 1.0 - a});
            }
        }
        return stretches;
    }

    std::vector<double> endsOf(const SideUse& use) const {
        std::vector<double> ends{0.0, 1.0};
        const CellRegion* region = regionOf(use.cell);
        if (region == nullptr) {
            return ends;
        }
        const auto add = [&](double rim) {
            const double share = rim - use.side;
            if (share > 0.0 && share < 1.0) {
                ends.push_back(use.forward ? share : 1.0 - share);
            }
        };
        for (const auto& [from, to] : region->rim) {
            add(from);
            add(to);
        }
        for (const NetArc& arc : region->arcs) {
            if (!arc.closed) {
                add(arc.enters);
                add(arc.leaves);
            }
        }
        return ends;
    }

    std::vector<Cut> cutsOf(const Side& side, std::vector<double> ends) {
        std::sort(ends.begin(), ends.end());
        std::vector<Cut> cuts;
        for (const double share : ends) {
            if (share <= sameCut) {
                if (cuts.empty()) {
                    cuts.push_back({0.0, knotAtPlace(side.first)});
                }
            } else if (share >= 1.0 - sameCut) {
                if (cuts.back().share < 1.0) {
                    cuts.push_back({1.0, knotAtPlace(side.second)});
                }
            } else if (share - cuts.back().share > sameCut) {
                const FlatPoint a = nodeFlat(all_.grid, side.first);
                const FlatPoint b = nodeFlat(all_.grid, side.second);
                cuts.push_back({share, knots.size()});
                knots.push_back(
                    {{a[0] + share * (b[0] - a[0]), a[1] + share * (b[1] - a[1])},
                     mix(nodePosition(all_.grid, side.first), nodePosition(all_.grid, side.second), share)});
            }
        }
        return cuts;
    }

    struct OnEdge {
        std::int32_t edge;
        double share;
    };

    // The place on the mould's edge that a point of a cell's side lies at, if it does.
    std::optional<OnEdge> onEdge(const Point& p, std::span<const SideUse> uses) const {
        double best = alongEdge * std::min(all_.cloth.stepA, all_.cloth.stepB);
        std::optional<OnEdge> found;
        for (const SideUse& use : uses) {
            const std::int32_t r = all_.regionOf[at(use.cell)];
            for (std::size_t k = 0; r >= 0 && k < all_.near[at(r)].size(); ++k) {
                const std::int32_t e = all_.near[at(r)][k];
                const Point& a = all_.mould.positions[at(all_.edges.boundary[at(e)].from)];
                const Point& b = all_.mould.positions[at(all_.edges.boundary[at(e)].to)];
                const double t = shareOnSegment(a, b, p);
                if (distance(p, mix(a, b, t)) <= best) {
                    best = distance(p, mix(a, b, t));
                    found = {e, t};
                }
            }
        }
        return found;
    }

    // Adds what is left over of a side; it is a piece of the mould's edge if it runs along that.
    void addStretch(const Cut& a, const Cut& b, int times, std::span<const SideUse> uses) {
        const std::size_t from = times > 0 ? a.knot : b.knot;
        const std::size_t to = times > 0 ? b.knot : a.knot;
        const std::size_t cell = at(uses.front().cell);
        const std::size_t beside = at(uses.back().cell);
        OutlinePoint first{knots[from].flat, knots[from].space, NetBorder::cloth, -1, 0.0, cell, beside};
        OutlinePoint last{knots[to].flat, knots[to].space, NetBorder::cloth, -1, 0.0, cell, beside};
        const auto start = onEdge(first.space, uses);
        const auto end = onEdge(last.space, uses);
        if (start && end && onEdge(mix(first.space, last.space, 0.5), uses)) {
            first.border = NetBorder::mould;
            std::tie(first.edge, first.share) = std::tie(start->edge, start->share);
            std::tie(last.edge, last.share) = std::tie(end->edge, end->share);
        }
        for (int k = 0; k < std::abs(times); ++k) {
            pieces.push_back({from, to, {}, first, last});
        }
    }

    void addSide(const Side& side, std::span<const SideUse> uses) {
        if (uses.size() == 2 && isWhole(uses[0]) && isWhole(uses[1]) && uses[0].forward != uses[1].forward) {
            return;
        }
        std::vector<double> ends;
        for (const SideUse& use : uses) {
            const std::vector<double> own = endsOf(use);
            ends.insert(ends.end(), own.begin(), own.end());
        }
        const std::vector<Cut> cuts = cutsOf(side, std::move(ends));
        std::vector<int> times(cuts.size(), 0);
        for (const SideUse& use : uses) {
            for (const auto& [from, to] : stretchesOf(use)) {
                const std::size_t a = nearest(cuts, from);
                const std::size_t b = nearest(cuts, to);
                for (std::size_t k = a; k < b; ++k) {
                    times[k] += use.forward ? 1 : -1;
                }
            }
        }
        for (std::size_t k = 0; k + 1 < cuts.size(); ++k) {
            if (times[k] != 0) {
                addStretch(cuts[k], cuts[k + 1], times[k], uses);
            }
        }
        if (cuts.size() > 2) {
            sideCuts_[side] = cuts;
        }
    }

    static std::size_t nearest(const std::vector<Cut>& cuts, double share) {
        const auto above = std::lower_bound(cuts.begin(), cuts.end(), share,
                                            [](const Cut& cut, double s) { return cut.share < s; });
        if (above == cuts.begin()) {
            return 0;
        }
        const bool below = above == cuts.end() || share - (above - 1)->share <= above->share - share;
        return static_cast<std::size_t>(above - cuts.begin()) - (below ? 1 : 0);
    }

    void addSides() {
        const std::vector<SideUse> uses = sideUses(all_);
        for (std::size_t first = 0; first < uses.size();) {
            const Side side{uses[first].low, uses[first].high};
            std::size_t end = first + 1;
            while (end < uses.size() && Side{uses[end].low, uses[end].high} == side) {
                ++end;
            }
            addSide(side, std::span(uses).subspan(first, end - first));
            first = end;
        }
    }

    std::size_t knotOnRim(const JoinedCell& cell, double rim) {
        const auto k = static_cast<std::size_t>(rim) % 4;
        const std::int32_t from = cell.knots[k];
        const std::int32_t to = cell.knots[(k + 1) % 4];
        const double share = rim - std::floor(rim);
        const double along = from < to ? share : 1.0 - share;
        const auto found = sideCuts_.find({std::min(from, to), std::max(from, to)});
        if (found == sideCuts_.end()) {
            return knotAtPlace(share < 0.5 ? from : to);
        }
        return found->second[nearest(found->second, along)].knot;
    }

    OutlinePoint pointOf(std::size_t cell, const EdgePlace& place) const {
        const BoundaryEdge& edge = all_.edges.boundary[at(place.edge)];
        return {flatIn(all_.grid, all_.cloth.cells[cell], place.place),
                mix(all_.mould.positions[at(edge.from)], all_.mould.positions[at(edge.to)], place.share),
                NetBorder::mould,
                place.edge,
                place.share,
                cell,
                cell};
    }

    void addArcs() {
        for (std::size_t c = 0; c < all_.cloth.cells.size(); ++c) {
            const CellRegion* region = regionOf(static_cast<std::int32_t>(c));
            for (std::size_t a = 0; region != nullptr && a < region->arcs.size(); ++a) {
                addArc(c, region->arcs[a]);
            }
        }
    }

    void addArc(std::size_t c, const NetArc& arc) {
        std::vector<OutlinePoint> points;
        for (const EdgePlace& place : arc.places) {
            points.push_back(pointOf(c, place));
        }
        if (arc.closed) {
            closed.push_back(std::move(points));
            return;
        }
        const std::size_t from = knotOnRim(all_.cloth.cells[c], arc.enters);
        const std::size_t to = knotOnRim(all_.cloth.cells[c], arc.leaves);
        OutlinePoint first = points.front();
        OutlinePoint last = points.back();
        const double reach = sameCut * std::max(all_.cloth.stepA, all_.cloth.stepB);
        const auto isAt = [&](const OutlinePoint& point, std::size_t knot) {
            return flatDistance(point.flat, knots[knot].flat) <= 4.0 * reach;
        };
        if (isAt(points.back(), to)) {
            points.pop_back();
        }
        if (!points.empty() && isAt(points.front(), from)) {
            points.erase(points.begin());
        }
        first.flat = knots[from].flat;
        last.flat = knots[to].flat;
        pieces.push_back({from, to, std::move(points), first, last});
    }

    const ClothRegions& all_;
    std::map<std::int32_t, std::size_t> placeKnots_;
    std::map<Side, std::vector<Cut>> sideCuts_;
};

// The rank of the angle from one direction to the next; turning back comes last.
double leftTurn(const FlatPoint& a, const FlatPoint& b, const FlatPoint& c, const FlatPoint& d) {
    const double ux = b[0] - a[0];
    const double uy = b[1] - a[1];
    const double vx = d[0] - c[0];
    const double vy = d[1] - c[1];
    const double turn = angleRank(ux * vx + uy * vy, ux * vy - uy * vx);
    return turn > 2.0 - straightBack ? -turn : turn;
}

// Chains pieces at their knots, at each knot the one that turns most to the left, so that lines which meet in
// a knot don't cross.
class Chain {
public:
    explicit Chain(Sum& sum) : sum_(sum), leaving_(sum.knots.size()), used_(sum.pieces.size(), 0) {
        for (std::size_t p = 0; p < sum.pieces.size(); ++p) {
            leaving_[sum.pieces[p].from].push_back(p);
        }
    }

    std::vector<Outline> outlines() {
        std::vector<Outline> lines = std::move(sum_.closed);
        for (std::size_t first = 0; first < sum_.pieces.size(); ++first) {
            if (used_[first] == 0) {
                lines.push_back(from(first));
            }
        }
        return lines;
    }

private:
    Outline from(std::size_t first) {
        Outline line;
        std::size_t p = first;
        OutlinePoint before; // where the piece before ends
        do {
            used_[p] = 1;
            const Piece& piece = sum_.pieces[p];
            line.push_back(placedBy(before, piece.first));
            line.insert(line.end(), piece.inner.begin(), piece.inner.end());
            before = piece.last;
            p = next(p, first);
        } while (p != first && p < sum_.pieces.size());
        line.front() = placedBy(before, line.front());
        return line;
    }

    // A side of the cloth begins at the place on the mould's edge at which that left the cloth.
    static OutlinePoint placedBy(const OutlinePoint& before, OutlinePoint point) {
        if (point.edge < 0 && before.edge >= 0) {
            point.edge = before.edge;
            point.share = before.share;
            point.space = before.space;
        }
        return point;
    }

    std::size_t next(std::size_t p, std::size_t first) const {
        const Piece& piece = sum_.pieces[p];
        const FlatPoint end = sum_.knots[piece.to].flat;
        const FlatPoint before = piece.inner.empty() ? piece.first.flat : piece.inner.back().flat;
        std::size_t best = sum_.pieces.size();
        double bestTurn = 0.0;
        for (const std::size_t q : leaving_[piece.to]) {
            if (used_[q] != 0 && q != first) {
                continue;
            }
            const Piece& other = sum_.pieces[q];
            const FlatPoint after =
                other.inner.empty() ? sum_.knots[other.to].flat : other.inner.front().flat;
            const double turn = leftTurn(before, end, end, after);
            if (best == sum_.pieces.size() || turn > bestTurn) {
                best = q;
                bestTurn = turn;
            }
        }
        return best;
    }

    Sum& sum_;
    std::vector<std::vector<std::size_t>> leaving_;
    std::vector<char> used_;
};

} // namespace

std::vector<Outline> outlinesOf(const ClothRegions& all) {
    Sum sum(all);
    return Chain(sum).outlines();
}

} // namespace drape::host
