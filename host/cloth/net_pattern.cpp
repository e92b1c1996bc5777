// A cell far from the mould's edge with open corners only lies over the mould whole; the others are cut to it
// one by one. The outline is the sum of their outlines, carried on beyond the last cells where a corner of
// the mould looks out between them.
#include "host/cloth/net_pattern.h"

#include "host/cloth/cell_cubes.h"
#include "host/cloth/net_tips.h"
#include "host/mesh/nearest_point.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <map>
#include <optional>

namespace drape::host {

using namespace vec;

namespace {

constexpr double reachOfEdge = 2.0;     // cells from the middle of a cell to an edge that can cut it
constexpr double edgeSampling = 0.5;    // cells between the points of an edge that look for cells
constexpr double shortestLoop = 1e-4;   // cells
constexpr double thinnestLoop = 1e-6;   // cells, its area over its length
constexpr double straightEnough = 2e-4; // cells that a point left out may lie off the line

// Per joined cell, the boundary edges that can cut it, rising.
std::vector<std::vector<std::int32_t>> edgesNear(const RegionSearch& search, const Grid& grid,
                                                 const std::vector<Cell>& cells, const JoinedCloth& cloth) {
    const std::vector<BoundaryEdge>& boundary = search.edges.boundary;
    const double step = search.step;
    std::vector<Cell> joined;
    std::vector<Point> centres;
    for (const JoinedCell& cell : cloth.cells) {
        joined.push_back(cells[cell.cells.front()]);
        centres.push_back(cellCentre(grid, joined.back()));
    }
    const CellCubes cubes(grid, joined, reachOfEdge * step);
    std::vector<std::vector<std::int32_t>> near(cloth.cells.size());
    std::optional<Cube> here;        // that the last point lay in
    std::vector<std::size_t> around; // cells there
    for (std::size_t e = 0; e < boundary.size(); ++e) {
        const Point& a = search.mould.positions[at(boundary[e].from)];
        const Point& b = search.mould.positions[at(boundary[e].to)];
        const int parts = std::max(1, static_cast<int>(std::ceil(distance(a, b) / (edgeSampling * step))));
        for (int k = 0; k <= parts; ++k) {
            const Point p = mix(a, b, static_cast<double>(k) / parts);
            if (const Cube cube = cubes.cubeOf(p); cube != here) {
                here = cube;
                around.clear();
                cubes.around(cube, [&](std::size_t cell) { around.push_back(cell); });
            }
            for (const std::size_t cell : around) {
                auto& list = near[cell];
                if ((list.empty() || list.back() != static_cast<std::int32_t>(e)) &&
                    distance(p, centres[cell]) <= reachOfEdge * step) {
                    list.push_back(static_cast<std::int32_t>(e));
                }
            }
        }
    }
    return near;
}

Point inSpace(const OutlinePoint& point) {
    return point.space;
}

Point onPattern(const OutlinePoint& point) {
    return {point.flat[0], point.flat[1], 0.0};
}

// Leaves out points that lie on the straight line between those that stay, but no point at which the border
// changes.
template <class Place>
Outline simplified(const Outline& line, Place place, double allowed) {
    if (line.size() < 4) {
        return line;
    }
    const auto point = [&](std::size_t k) { return line[k % line.size()]; };
    std::vector<char> keep(line.size() + 1, 0);
    std::size_t farthest = 0;
    double far = -1.0;
    for (std::size_t k = 0; k < line.size(); ++k) {
        keep[k] = line[k].border != line[(k + line.size() - 1) % line.size()].border ? 1 : 0;
        const double d = distance(place(line[k]), place(line[0]));
        if (d > far) {
            far = d;
            farthest = k;
        }
    }
    keep[0] = keep[line.size()] = keep[farthest] = 1;
    std::vector<std::pair<std::size_t, std::size_t>> open;
    for (std::size_t k = 0, last = 0; k <= line.size(); ++k) {
        if (keep[k] != 0) {
            open.emplace_back(last, k);
            last = k;
        }
    }
    while (!open.empty()) {
        const auto [from, to] = open.back();
        open.pop_back();
        std::size_t worst = from;
        double off = allowed;
        for (std::size_t k = from + 1; k < to; ++k) {
            const Point p = place(point(k));
            const double d = distance(p, nearestOnSegment(place(point(from)), place(point(to)), p));
            if (d > off) {
                off = d;
                worst = k;
            }
        }
        if (worst != from) {
            keep[worst] = 1;
            open.emplace_back(from, worst);
            open.emplace_back(worst, to);
        }
    }
    Outline result;
    for (std::size_t k = 0; k < line.size(); ++k) {
        if (keep[k] != 0) {
            result.push_back(line[k]);
        }
    }
    return result;
}

NetLoop loopOf(const Outline& whole, double allowed) {
    NetLoop loop;
    const Outline line = simplified(whole, onPattern, allowed);
    for (std::size_t k = 0; k < line.size(); ++k) {
        const FlatPoint& a = line[k].flat;
        const FlatPoint& b = line[(k + 1) % line.size()].flat;
        loop.flat.push_back(a);
        loop.space.push_back(line[k].space);
        loop.borders.push_back(line[k].border);
        loop.length += flatDistance(a, b);
    }
    for (const OutlinePoint& point : simplified(whole, inSpace, allowed)) {
        loop.rim.push_back(point.space);
        loop.rimBorders.push_back(point.border);
    }
    loop.area = signedArea(loop.flat);
    return loop;
}

// What rounding leaves of a touch, and where cells of one sheet gape or lap over each other within the cloth:
// there is nothing to cut out.
bool isNothing(const NetLoop& loop, double step) {
    return loop.length < shortestLoop * step ||
           (std::abs(loop.area) < thinnestLoop * step * loop.length &&
            std::all_of(loop.borders.begin(), loop.borders.end(),
                        [](NetBorder border) { return border == NetBorder::cloth; }));
}

void addLoop(NetLoop loop, NetPattern& pattern) {
    for (std::size_t k = 0; k < loop.flat.size(); ++k) {
        const bool first = pattern.loops.empty() && k == 0;
        const FlatPoint& a = loop.flat[k];
        const FlatPoint& b = loop.flat[(k + 1) % loop.flat.size()];
        for (std::size_t axis = 0; axis < 2; ++axis) {
            double& low = pattern.extent[axis];
            double& high = pattern.extent[axis + 2];
            low = first ? a[axis] : std::min(low, a[axis]);
            high = first ? a[axis] : std::max(high, a[axis]);
        }
        pattern.clothEdgeLength += loop.borders[k] == NetBorder::cloth ? flatDistance(a, b) : 0.0;
    }
    pattern.area += loop.area;
    pattern.loops.push_back(std::move(loop));
}

// The cells' regions, each worked out where the mould's edge is near.
struct Regions {
    std::vector<std::int32_t>
        of; // per joined cell, entry of `all`, -1 for a whole cell far from the mould's edge
    std::vector<CellRegion> all;
    std::vector<std::vector<std::int32_t>> near; // per entry of `all`, boundary edges
};

Regions regionsOf(const Grid& grid, const std::vector<Cell>& cells, const JoinedCloth& cloth,
                  RegionSearch& search) {
    Regions regions;
    auto near = edgesNear(search, grid, cells, cloth);
    for (std::size_t c = 0; c < cloth.cells.size(); ++c) {
        regions.of.push_back(near[c].empty() ? -1 : static_cast<std::int32_t>(regions.all.size()));
        if (!near[c].empty()) {
            regions.all.push_back(regionOf(cloth.mapOf(grid, cloth.cells[c]),
                                           footholdsOf(grid, cells, cloth.cells[c]), near[c], search));
            regions.near.push_back(std::move(near[c]));
        }
    }
    return regions;
}

using Shape = std::vector<std::vector<FlatPoint>>;

// The part of a joined cell that belongs to the pattern, on the pattern.
Shape shapeOf(const Grid& grid, const JoinedCell& cell, const CellRegion* region) {
    static const Shape whole{{{0.0, 0.0}, {1.0, 0.0}, {1.0, 1.0}, {0.0, 1.0}}};
    Shape shape = region == nullptr ? whole : region->polygons;
    for (auto& polygon : shape) {
        for (FlatPoint& place : polygon) {
            place = flatIn(grid, cell, place);
        }
    }
    return shape;
}

void addCells(const ClothRegions& all, const std::vector<Tip>& tips, NetPattern& pattern) {
    std::map<std::size_t, Shape> beyond;
    for (const Tip& tip : tips) {
        beyond[tip.cell].push_back(tip.polygon);
    }
    const auto regionOfCell = [&](std::size_t c) {
        return all.regionOf[c] < 0 ? nullptr : &all.regions[at(all.regionOf[c])];
    };
    const auto shapeWithTips = [&](std::size_t c) {
        Shape shape = shapeOf(all.grid, all.cloth.cells[c], regionOfCell(c));
        if (const auto found = beyond.find(c); found != beyond.end()) {
            shape.insert(shape.end(), found->second.begin(), found->second.end());
        }
        return shape;
    };
    for (std::size_t c = 0; c < all.cloth.cells.size(); ++c) {
        const CellRegion* region = regionOfCell(c);
        const std::size_t cell = all.cloth.cells[c].cells.front();
        if ((region == nullptr || region->whole) && beyond.count(c) == 0) {
            pattern.wholeCells.push_back(cell);
        } else if (Shape shape = shapeWithTips(c); !shape.empty()) {
            pattern.clippedCells.push_back({cell, std::move(shape)});
        }
    }
    for (const auto& group : cellsAtOnePlace(all.grid, all.cloth)) {
        std::vector<Shape> shapes;
        std::transform(group.begin(), group.end(), std::back_inserter(shapes), shapeWithTips);
        for (auto& polygon : overlapOf(shapes)) {
            pattern.overlapArea += signedArea(polygon);
            pattern.overlaps.push_back(std::move(polygon));
        }
    }
}

} // namespace

NetPattern netPatternOf(const Mould& mould, const Grid& grid, const std::vector<Cell>& cells) {
    NetPattern pattern;
    JoinedCloth cloth = joinedCloth(grid, cells);
    if (cloth.cells.empty()) {
        return pattern;
    }
    const MouldEdges& edges = mould.edges;
    RegionSearch search{mould, edges, std::max(cloth.stepA, cloth.stepB),
                        std::vector<std::uint32_t>(mould.triangleCount(), 0), 0};
    leaveOutDoubles(grid, cells, search, cloth);
    const Regions regions = regionsOf(grid, cells, cloth, search);
    const ClothRegions all{mould, grid, edges, cloth, regions.of, regions.all, regions.near};
    std::vector<Tip> tips;
    std::vector<NetLoop> loops;
    for (const Outline& line : outlinesOf(all)) {
        const Outline whole = carriedBeyond(all, line, tips);
        loops.push_back(loopOf(whole, straightEnough * std::min(cloth.stepA, cloth.stepB)));
    }
    std::stable_sort(loops.begin(), loops.end(),
                     [](const NetLoop& a, const NetLoop& b) { return std::abs(a.area) > std::abs(b.area); });
    std::erase_if(loops,
                  [&](const NetLoop& loop) { return isNothing(loop, std::min(cloth.stepA, cloth.stepB)); });
    for (NetLoop& loop : loops) {
        addLoop(std::move(loop), pattern);
    }
    addCells(all, tips, pattern);
    return pattern;
}

} // namespace drape::host
