// The boundary edges among the triangles underneath a cell are cut to the cell and joined to arcs; from where
// an arc leaves, the outline of the region runs counter-clockwise along the rim to where the next arc enters.
#include "host/cloth/net_region.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace drape::host {

namespace {

constexpr double sameRim = 1e-9; // cells along the rim

// Place on the rim, 0 to 4, of a place at or near it: the nearest.
double onRim(const FlatPoint& p) {
    const double x = withinCell(p[0]);
    const double y = withinCell(p[1]);
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
                                              {withinCell(sample.place[0]), withinCell(sample.place[1])}});
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
    double angle; // of the arc inside the cell against the rim's own direction, its rank from 0 to 2
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
    return std::abs(angleRank(t[0] * dx + t[1] * dy, t[0] * dy - t[1] * dx));
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

CellRegion regionOf(const CellMap& cell, const std::vector<Foothold>& footholds,
                    const std::vector<std::int32_t>& near, RegionSearch& search) {
    CellRegion region;
    const Fence fence(cell, search.step);
    std::vector<EdgePart> parts;
    for (const std::int32_t e : near) {
        const BoundaryEdge& edge = search.edges.boundary[at(e)];
        const Segment s = segmentOf(search.mould, edge.from, edge.to);
        for (Samples& samples : insideOf(cell, fence, s, search.step)) {
            parts.push_back({e, std::move(samples)});
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
        under.reachOn(parts);
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

} // namespace drape::host
