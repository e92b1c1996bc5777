// Cells are taken from the seed outward, one for each place of the pattern. Then the mould is walked from the
// seed, vertex by vertex, each finding its place on the cloth from its neighbour's; so every vertex lies
// under one layer, and where cloth comes together that has come different ways, neighbours lie far apart on
// the pattern and the cells there are given up. The distance from where the region ends is worked out on the
// nodes.
#include "host/cloth/good_region.h"

#include "drape.h"
#include "host/cloth/cell_cubes.h"
#include "host/cloth/cell_map.h"
#include "host/cloth/flat_point.h"
#include "host/mesh/point.h"

#include <algorithm>
#include <optional>
#include <queue>
#include <set>

namespace drape::host {

using namespace vec;

namespace {

constexpr double standsOff = 0.5;     // cells between cloth and mould, at most
constexpr double onSide = 1e-6;       // cells: no farther over a side, a place counts as on it
constexpr double overRim = 0.6;       // cells that the mould may reach over the last cell at its own edge
constexpr int longestWalk = 8;        // cells from one vertex to the next
constexpr double mostStretch = 3.0;   // pattern between neighbouring vertices against the edge between them,
constexpr double stretchSlack = 0.7;  // and cells beside
constexpr double withinLimit = 0.999; // of the cloth's width and length, for a piece to stay below them
constexpr double atEnd = 0.95;        // of the most area, for a strip at an end of the region
constexpr double pastEnd = 0.2;       // cells
constexpr double besideSeed = 0.25;   // of the cloth's width, or a cell: no strip ends nearer to the seed
constexpr int mostTears = 4;
constexpr double mostGap = 1.0; // cells
constexpr int smoothings = 4;
constexpr std::int32_t none = -1;

// The cells with their neighbours over the links.
class Lattice {
public:
    Lattice(const Grid& theGrid, const std::vector<Cell>& theCells)
        : grid(theGrid), cells(theCells), cellAt_(at(grid.count), none) {
        for (std::size_t c = 0; c < cells.size(); ++c) {
            cellAt_[at(cells[c].nodes[0])] = static_cast<std::int32_t>(c);
        }
        if (!cells.empty()) {
            const auto& nodes = cells.front().nodes;
            stepA = nodeFlat(grid, nodes[1])[0] - nodeFlat(grid, nodes[0])[0];
            stepB = nodeFlat(grid, nodes[3])[1] - nodeFlat(grid, nodes[0])[1];
        }
    }

    const Grid& grid;
    const std::vector<Cell>& cells;
    double stepA = 0.0, stepB = 0.0;

    // The cell whose lower corner is `node`, none if there isn't one.
    std::int32_t cellAt(std::int32_t node) const { return node < 0 ? none : cellAt_[at(node)]; }

    std::array<std::int32_t, 2> corner(std::int32_t cell) const {
        const auto node = at(cells[at(cell)].nodes[0]);
        return {grid.i[node], grid.j[node]};
    }

    // Over the side from corner k to corner k + 1: below, right, above, left.
    std::int32_t beyond(std::int32_t cell, std::size_t k) const {
        const std::int32_t node = cells[at(cell)].nodes[0];
        const std::vector<std::int32_t>& link = k == 0   ? grid.link2
                                                : k == 1 ? grid.link1
                                                : k == 2 ? grid.link4
                                                         : grid.link3;
        return cellAt(link[at(node)] - 1);
    }

    bool isOpen(std::int32_t node) const {
        return grid.nodeStatus[at(node)] == DRAPE_NODE_OPEN && grid.triangle[at(node)] > 0;
    }

    CellMap mapOf(std::int32_t cell) const {
        CellMap map;
        for (std::size_t k = 0; k < 4; ++k) {
            map.corners[k] = nodePosition(grid, cells[at(cell)].nodes[k]);
        }
        map.normals.fill(map.normal());
        return map;
    }

private:
    std::vector<std::int32_t> cellAt_; // per node
};

// Lower corners of cells as grid coordinates from the seed, which are places on the pattern.
using PatternCells = std::set<std::array<std::int32_t, 2>>;

struct Place {
    std::int32_t cell = none;
    double u = 0.0, v = 0.0;
};

class Growth {
public:
    Growth(const Ground& ground, const Lattice& lattice, const GoodWishes& wishes,
           const std::vector<double>& within)
        : ground_(ground), lattice_(lattice), wishes_(wishes), within_(within) {
        for (std::size_t c = 0; c < lattice.cells.size(); ++c) {
            maps_.push_back(lattice.mapOf(static_cast<std::int32_t>(c)));
        }
    }

    GoodRegion grown() {
        for (int tears = 0; tears <= mostTears; ++tears) {
            takeCells();
            walk();
            if (!tear()) {
                break;
            }
        }
        GoodRegion region;
        region.cells = taken_;
        region.depths = depths();
        region.rooms = rooms();
        region.trouble = std::move(trouble_);
        region.doubles = doubles_;
        return region;
    }

private:
    std::int32_t cellCount() const { return static_cast<std::int32_t>(lattice_.cells.size()); }

    bool touchesMould(std::int32_t cell) const {
        const auto& nodes = lattice_.cells[at(cell)].nodes;
        return std::any_of(nodes.begin(), nodes.end(), [&](std::int32_t n) { return lattice_.isOpen(n); });
    }

    bool isGood(std::int32_t cell) const {
        const Cell& c = lattice_.cells[at(cell)];
        return blocked_.count(lattice_.corner(cell)) == 0 &&
               (!(c.onSurface || hangsOverEdge(lattice_.grid, c)) ||
                std::abs(c.shear) <= wishes_.lockingAngle) &&
               (!c.onSurface || maps_[at(cell)].isConvex());
    }

    void takeCells() {
        taken_.assign(lattice_.cells.size(), 0);
        trouble_.clear();
        if (lattice_.grid.count == 0) {
            return;
        }
        std::vector<std::int32_t> open;
        std::vector<char> seen(taken_.size(), 0);
        PatternCells under;
        doubles_ = 0;
        const auto offer = [&](std::int32_t cell) {
            if (cell != none && seen[at(cell)] == 0 && touchesMould(cell)) {
                seen[at(cell)] = 1;
                open.push_back(cell);
            }
        };
        const Grid& grid = lattice_.grid;
        const std::int32_t below = grid.link2[0] - 1;
        offer(lattice_.cellAt(0));
        offer(lattice_.cellAt(grid.link3[0] - 1));
        offer(lattice_.cellAt(below));
        offer(below < 0 ? none : lattice_.cellAt(grid.link3[at(below)] - 1));
        for (std::size_t next = 0; next < open.size(); ++next) {
            const std::int32_t cell = open[next];
            const bool isDouble =
                lattice_.cells[at(cell)].onSurface && !under.insert(lattice_.corner(cell)).second;
            doubles_ += isDouble ? 1U : 0U;
            if (isDouble || !isGood(cell)) {
                trouble_.push_back(cellCentre(grid, lattice_.cells[at(cell)]));
                continue;
            }
            taken_[at(cell)] = 1;
            for (std::size_t k = 0; k < 4; ++k) {
                offer(lattice_.beyond(cell, k));
            }
        }
    }

    // Per vertex, how far it is along the cloth from the sides of the strip that fits the cloth's width and
    // length best: the one that holds most, the seed among it.
    std::vector<double> rooms() const {
        std::vector<double> rooms(places_.size(), std::numeric_limits<double>::infinity());
        for (const std::size_t axis : {0U, 1U}) {
            const double most = withinLimit * (axis == 0 ? wishes_.mostAlongWarp : wishes_.mostAlongWeft);
            std::vector<std::pair<double, double>> places; // along the axis, with their areas
            for (std::size_t v = 0; v < places_.size() && std::isfinite(most); ++v) {
                if (places_[v].cell != none && within_[v] > 0.0) {
                    places.emplace_back(flatOf(places_[v])[axis], ground_.areas[v]);
                }
            }
            std::sort(places.begin(), places.end());
            if (places.empty() || !(places.back().first - places.front().first > most)) {
                continue;
            }
            const double low = fullestStrip(places, most);
            for (std::size_t v = 0; v < places_.size(); ++v) {
                if (places_[v].cell != none) {
                    const double x = flatOf(places_[v])[axis];
                    rooms[v] = std::min({rooms[v], x - low, low + most - x});
                }
            }
        }
        return rooms;
    }

    // Lower end of the strip `width` wide that holds the places around 0 and the most area; one that begins
    // or ends where the region does is as good with a little less, as it leaves no narrow rest. `places`
    // rise.
    double fullestStrip(const std::vector<std::pair<double, double>>& places, double width) const {
        const double beside = std::min(besideSeed * width, std::max(lattice_.stepA, lattice_.stepB));
        double best = -0.5 * width;
        double most = -1.0;
        double held = 0.0;
        std::size_t end = 0;
        for (std::size_t first = 0; first < places.size() && places[first].first <= -beside; ++first) {
            const double low = places[first].first;
            for (; end < places.size() && places[end].first <= low + width; ++end) {
                held += places[end].second;
            }
            if (low + width >= beside && held > most) {
                most = held;
                best = low;
            }
            held -= places[first].second;
        }
        const double beyond = pastEnd * std::min(lattice_.stepA, lattice_.stepB);
        double enough = atEnd * most;
        for (const double low : {places.front().first - beyond, places.back().first + beyond - width}) {
            double area = 0.0;
            for (const auto& [x, part] : places) {
                area += x >= low && x <= low + width ? part : 0.0;
            }
            if (low <= -beside && low + width >= beside && area > enough) {
                enough = area;
                best = low;
            }
        }
        return best;
    }

    // Whether cloth that lies on the mould with both ends of a cell's side ends there.
    bool endsOpen(std::int32_t cell, std::size_t side) const {
        const auto& nodes = lattice_.cells[at(cell)].nodes;
        return lattice_.isOpen(nodes[side]) && lattice_.isOpen(nodes[(side + 1) % 4]);
    }

    // The place on the region over a vertex, looked for from the place over a neighbour.
    std::optional<Place> placeFrom(std::int32_t cell, std::int32_t vertex) const {
        const Point& point = ground_.mesh.positions[at(vertex)];
        const double step = std::max(lattice_.stepA, lattice_.stepB);
        for (int walked = 0; walked < longestWalk; ++walked) {
            const CellMap& map = maps_[at(cell)];
            const std::optional<CellSpot> spot = map.placeOf(point);
            if (!spot || !(std::abs(spot->height) <= standsOff * step)) {
                return std::nullopt;
            }
            const std::array<double, 4> over{-spot->v, spot->u - 1.0, spot->v - 1.0, -spot->u};
            const auto side =
                static_cast<std::size_t>(std::max_element(over.begin(), over.end()) - over.begin());
            if (over[side] > onSide) {
                const std::int32_t beyond = lattice_.beyond(cell, side);
                const bool goesOn = beyond != none && (taken_[at(beyond)] != 0 || touchesMould(beyond));
                if (goesOn && taken_[at(beyond)] != 0) {
                    cell = beyond;
                    continue;
                }
                if (goesOn || endsOpen(cell, side) || over[side] > overRim) {
                    return std::nullopt;
                }
            }
            if (dot(map.normals[0], ground_.normals[at(vertex)]) <= 0.0) {
                return std::nullopt;
            }
            return Place{cell, spot->u, spot->v};
        }
        return std::nullopt;
    }

    void walk() {
        places_.assign(ground_.vertexCount(), Place{});
        std::vector<std::int32_t> open;
        const auto offer = [&](std::int32_t vertex, std::int32_t from) {
            if (places_[at(vertex)].cell != none) {
                return;
            }
            if (const std::optional<Place> place = placeFrom(from, vertex)) {
                places_[at(vertex)] = *place;
                open.push_back(vertex);
            }
        };
        startWalk(offer);
        for (std::size_t k = 0; k < open.size(); ++k) {
            const std::int32_t vertex = open[k];
            for (const std::int32_t next : ground_.around(vertex)) {
                offer(next, places_[at(vertex)].cell);
            }
        }
    }

    // From the vertices next to the seed, by distance.
    template <class Offer>
    void startWalk(const Offer& offer) const {
        if (lattice_.grid.count == 0) {
            return;
        }
        const Point seed = nodePosition(lattice_.grid, 0);
        std::int32_t nearest = 0;
        double near = std::numeric_limits<double>::infinity();
        for (std::int32_t v = 0; v < static_cast<std::int32_t>(ground_.vertexCount()); ++v) {
            const double d = distance(ground_.mesh.positions[at(v)], seed);
            if (d < near) {
                near = d;
                nearest = v;
            }
        }
        const Grid& grid = lattice_.grid;
        const std::int32_t below = grid.link2[0] - 1;
        for (const std::int32_t cell :
             {lattice_.cellAt(0), lattice_.cellAt(grid.link3[0] - 1), lattice_.cellAt(below),
              below < 0 ? none : lattice_.cellAt(grid.link3[at(below)] - 1)}) {
            if (cell != none && taken_[at(cell)] != 0) {
                offer(nearest, cell);
            }
        }
    }

    std::array<double, 2> flatOf(const Place& place) const {
        const auto low = nodeFlat(lattice_.grid, lattice_.cells[at(place.cell)].nodes[0]);
        return {low[0] + place.u * lattice_.stepA, low[1] + place.v * lattice_.stepB};
    }

    // Gives up the cells where neighbours on the mould lie far apart on the cloth, the farther one from the
    // seed of each two. False if there are none.
    bool tear() {
        bool torn = false;
        const double slack = stretchSlack * std::max(lattice_.stepA, lattice_.stepB);
        std::vector<std::array<double, 2>> flat(places_.size());
        for (std::size_t v = 0; v < flat.size(); ++v) {
            flat[v] = places_[v].cell != none ? flatOf(places_[v]) : std::array<double, 2>{};
        }
        for (std::int32_t v = 0; v < static_cast<std::int32_t>(ground_.vertexCount()); ++v) {
            for (const std::int32_t w : ground_.around(v)) {
                const Place& a = places_[at(v)];
                const Place& b = places_[at(w)];
                if (w < v || a.cell == none || b.cell == none) {
                    continue;
                }
                const auto& fa = flat[at(v)];
                const auto& fb = flat[at(w)];
                if (std::max(std::abs(fa[0] - fb[0]), std::abs(fa[1] - fb[1])) < 0.5 * slack) {
                    continue; // as nearly all are
                }
                const double edge = distance(ground_.mesh.positions[at(v)], ground_.mesh.positions[at(w)]);
                if (flatDistance(fa, fb) > mostStretch * edge + slack) {
                    const bool first = flatDistance(fa, {}) > flatDistance(fb, {});
                    blocked_.insert(lattice_.corner(first ? a.cell : b.cell));
                    torn = true;
                }
            }
        }
        return torn;
    }

    // Per node its distance along the cloth from where the region ends without the mould ending.
    std::vector<double> nodeDepths() const {
        const std::size_t count = at(lattice_.grid.count);
        std::vector<double> depths(count, std::numeric_limits<double>::infinity());
        using Step = std::pair<double, std::int32_t>;
        std::priority_queue<Step, std::vector<Step>, std::greater<>> open;
        std::vector<std::vector<std::int32_t>> cellsOf(count);
        for (std::int32_t c = 0; c < cellCount(); ++c) {
            if (taken_[at(c)] == 0) {
                continue;
            }
            const auto& nodes = lattice_.cells[at(c)].nodes;
            for (std::size_t k = 0; k < 4; ++k) {
                cellsOf[at(nodes[k])].push_back(c);
                const std::int32_t beyond = lattice_.beyond(c, k);
                const bool ends =
                    beyond == none ? endsOpen(c, k) : taken_[at(beyond)] == 0 && touchesMould(beyond);
                if (ends) {
                    for (const std::int32_t node : {nodes[k], nodes[(k + 1) % 4]}) {
                        depths[at(node)] = 0.0;
                        open.emplace(0.0, node);
                    }
                }
            }
        }
        while (!open.empty()) {
            const auto [d, node] = open.top();
            open.pop();
            if (d > depths[at(node)]) {
                continue;
            }
            const auto here = nodeFlat(lattice_.grid, node);
            for (const std::int32_t c : cellsOf[at(node)]) {
                for (const std::int32_t other : lattice_.cells[at(c)].nodes) {
                    if (depths[at(other)] <= d) {
                        continue;
                    }
                    const auto there = nodeFlat(lattice_.grid, other);
                    const double further = d + flatDistance(here, there);
                    if (further < depths[at(other)]) {
                        depths[at(other)] = further;
                        open.emplace(further, other);
                    }
                }
            }
        }
        return depths;
    }

    // Each node's mean with those that a side of the region's cells joins it to.
    std::vector<double> smoothed(const std::vector<double>& depths) const {
        std::vector<double> sums(depths);
        std::vector<double> counts(depths.size(), 1.0);
        for (std::int32_t c = 0; c < cellCount(); ++c) {
            for (std::size_t k = 0; taken_[at(c)] != 0 && k < 4; ++k) {
                const std::size_t a = at(lattice_.cells[at(c)].nodes[k]);
                const std::size_t b = at(lattice_.cells[at(c)].nodes[(k + 1) % 4]);
                sums[a] += 0.5 * depths[b];
                sums[b] += 0.5 * depths[a];
                counts[a] += 0.5;
                counts[b] += 0.5;
            }
        }
        for (std::size_t n = 0; n < sums.size(); ++n) {
            sums[n] = depths[n] > 0.0 ? sums[n] / counts[n] : 0.0;
        }
        return sums;
    }

    std::vector<double> depths() const {
        std::vector<double> nodes = nodeDepths();
        const double size = std::sqrt(ground_.area);
        std::replace_if(
            nodes.begin(), nodes.end(), [](double d) { return !std::isfinite(d); }, size);
        for (int k = 0; k < smoothings; ++k) {
            nodes = smoothed(nodes);
        }
        std::vector<double> result(places_.size(), -std::max(lattice_.stepA, lattice_.stepB));
        for (std::size_t v = 0; v < places_.size(); ++v) {
            if (places_[v].cell != none) {
                const auto& n = lattice_.cells[at(places_[v].cell)].nodes;
                const double u = std::clamp(places_[v].u, 0.0, 1.0);
                const double w = std::clamp(places_[v].v, 0.0, 1.0);
                result[v] = (1.0 - w) * ((1.0 - u) * nodes[at(n[0])] + u * nodes[at(n[1])]) +
                            w * ((1.0 - u) * nodes[at(n[3])] + u * nodes[at(n[2])]);
            }
        }
        closeGaps(result);
        return result;
    }

    // Vertices that no place was found for, fewer than lie under a cell or two and with cloth all around, as
    // over a pit in the mould, count as covered.
    void closeGaps(std::vector<double>& depths) const {
        const double most = mostGap * lattice_.stepA * lattice_.stepB;
        std::vector<char> seen(depths.size(), 0);
        for (std::int32_t first = 0; first < static_cast<std::int32_t>(depths.size()); ++first) {
            if (seen[at(first)] != 0 || depths[at(first)] >= 0.0) {
                continue;
            }
            std::vector<std::int32_t> gap{first};
            seen[at(first)] = 1;
            double area = 0.0;
            double depth = std::numeric_limits<double>::infinity();
            for (std::size_t k = 0; k < gap.size(); ++k) {
                area += ground_.areas[at(gap[k])];
                for (const std::int32_t next : ground_.around(gap[k])) {
                    if (depths[at(next)] >= 0.0) {
                        depth = std::min(depth, depths[at(next)]);
                    } else if (seen[at(next)] == 0) {
                        seen[at(next)] = 1;
                        gap.push_back(next);
                    }
                }
            }
            for (const std::int32_t v : gap) {
                depths[at(v)] = area <= most && std::isfinite(depth) ? depth : depths[at(v)];
            }
        }
    }

    const Ground& ground_;
    const Lattice& lattice_;
    const GoodWishes& wishes_;
    const std::vector<double>& within_;
    PatternCells blocked_;       // that aren't to be had
    std::size_t doubles_ = 0;    // cells on the mould where the pattern has one already
    std::vector<CellMap> maps_;  // per cell
    std::vector<char> taken_;    // per cell
    std::vector<Place> places_;  // per vertex of the ground
    std::vector<Point> trouble_; // middles of cells that aren't good
};

} // namespace

GoodRegion goodRegionOf(const Ground& ground, const Grid& grid, const std::vector<Cell>& cells,
                        const GoodWishes& wishes, const std::vector<double>& within) {
    const Lattice lattice(grid, cells);
    return Growth(ground, lattice, wishes, within).grown();
}

} // namespace drape::host
