// Nodes share a place if they have the same grid coordinates and lie on each other but for rounding.
#include "host/cloth/joined_cells.h"

#include "drape.h"
#include "host/mesh/counting_sort.h"

#include <algorithm>
#include <iterator>
#include <numeric>

namespace drape::host {

using namespace vec;

namespace {

constexpr double samePlace = 1e-4; // cells between nodes that count as one
constexpr double sameKnot = 0.5;   // cells between nodes whose cloth is sewn together

std::pair<std::int32_t, std::int32_t> crossAt(const Grid& grid, std::int32_t node) {
    return {grid.i[at(node)], grid.j[at(node)]};
}

// By their grid coordinates, then by number.
std::vector<std::int32_t> nodesByCross(const Grid& grid) {
    std::vector<std::int32_t> order(at(grid.count));
    std::iota(order.begin(), order.end(), 0);
    countingSort(order, [&](std::int32_t node) { return grid.j[at(node)]; });
    countingSort(order, [&](std::int32_t node) { return grid.i[at(node)]; });
    return order;
}

// Per node, the lowest one within `reach` of it among those with its coordinates.
std::vector<std::int32_t> placesOf(const Grid& grid, const std::vector<std::int32_t>& order, double reach) {
    const auto cross = [&](std::int32_t n) { return crossAt(grid, n); };
    std::vector<std::int32_t> places(order.size());
    for (std::size_t first = 0; first < order.size();) {
        std::size_t k = first;
        for (; k < order.size() && cross(order[k]) == cross(order[first]); ++k) {
            const Point here = nodePosition(grid, order[k]);
            std::size_t same = first;
            while (same < k && !(distance(nodePosition(grid, order[same]), here) <= reach)) {
                ++same;
            }
            places[at(order[k])] = same < k ? places[at(order[same])] : order[k];
        }
        first = k;
    }
    return places;
}

bool isOpen(const Grid& grid, std::int32_t node) {
    return grid.nodeStatus[at(node)] == DRAPE_NODE_OPEN && grid.triangle[at(node)] > 0;
}

} // namespace

CellMap JoinedCloth::mapOf(const Grid& grid, const JoinedCell& cell) const {
    CellMap map;
    for (std::size_t k = 0; k < 4; ++k) {
        map.corners[k] = nodePosition(grid, cell.places[k]);
        map.normals[k] = normals[at(cell.places[k])];
    }
    return map;
}

JoinedCloth joinedCloth(const Grid& grid, const std::vector<Cell>& cells) {
    JoinedCloth cloth;
    if (cells.empty()) {
        return cloth;
    }
    const auto& first = cells.front().nodes;
    cloth.stepA = nodeFlat(grid, first[1])[0] - nodeFlat(grid, first[0])[0];
    cloth.stepB = nodeFlat(grid, first[3])[1] - nodeFlat(grid, first[0])[1];
    const std::vector<std::int32_t> order = nodesByCross(grid);
    cloth.placeOf = placesOf(grid, order, samePlace * std::min(cloth.stepA, cloth.stepB));
    cloth.knotOf = placesOf(grid, order, sameKnot * std::min(cloth.stepA, cloth.stepB));
    cloth.normals.assign(at(grid.count), Point{});
    std::vector<std::pair<std::array<std::int32_t, 4>, std::size_t>> byPlaces;
    for (std::size_t k = 0; k < cells.size(); ++k) {
        const auto& nodes = cells[k].nodes;
        std::array<std::int32_t, 4> places{};
        std::transform(nodes.begin(), nodes.end(), places.begin(),
                       [&](std::int32_t node) { return cloth.placeOf[at(node)]; });
        const Point normal = unit(cross(nodePosition(grid, places[2]) - nodePosition(grid, places[0]),
                                        nodePosition(grid, places[3]) - nodePosition(grid, places[1])));
        for (const std::int32_t place : places) {
            cloth.normals[at(place)] = cloth.normals[at(place)] + normal;
        }
        if (std::any_of(nodes.begin(), nodes.end(), [&](std::int32_t node) { return isOpen(grid, node); })) {
            byPlaces.emplace_back(places, k);
        }
    }
    std::transform(cloth.normals.begin(), cloth.normals.end(), cloth.normals.begin(), unit);
    if (!std::is_sorted(byPlaces.begin(), byPlaces.end())) {
        std::sort(byPlaces.begin(), byPlaces.end());
    }
    for (std::size_t k = 0; k < byPlaces.size(); ++k) {
        if (k == 0 || byPlaces[k].first != byPlaces[k - 1].first) {
            JoinedCell cell{byPlaces[k].first, {}, {}};
            std::transform(cell.places.begin(), cell.places.end(), cell.knots.begin(),
                           [&](std::int32_t place) { return cloth.knotOf[at(place)]; });
            cloth.cells.push_back(cell);
        }
        cloth.cells.back().cells.push_back(byPlaces[k].second);
    }
    std::sort(cloth.cells.begin(), cloth.cells.end(),
              [](const JoinedCell& a, const JoinedCell& b) { return a.cells.front() < b.cells.front(); });
    return cloth;
}

std::vector<Foothold> footholdsOf(const Grid& grid, const std::vector<Cell>& cells,
                                  const JoinedCell& joined) {
    std::vector<Foothold> footholds;
    for (const std::size_t cell : joined.cells) {
        for (const std::int32_t node : cells[cell].nodes) {
            if (isOpen(grid, node)) {
                footholds.push_back({nodePosition(grid, node), grid.triangle[at(node)] - 1});
            }
        }
    }
    return footholds;
}

namespace {

// A cell as it asks whether another one is the same cloth.
struct Seen {
    std::size_t cell;
    std::size_t footholds;
    std::vector<std::int32_t> triangles; // underneath, rising
};

bool shareMould(const Seen& a, const Seen& b) {
    std::vector<std::int32_t> both;
    std::set_intersection(a.triangles.begin(), a.triangles.end(), b.triangles.begin(), b.triangles.end(),
                          std::back_inserter(both));
    return !both.empty();
}

} // namespace

std::vector<std::vector<std::size_t>> cellsAtOnePlace(const Grid& grid, const JoinedCloth& cloth) {
    const auto cross = [&](std::size_t c) { return crossAt(grid, cloth.cells[c].places[0]); };
    std::vector<std::size_t> order(cloth.cells.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    countingSort(order, [&](std::size_t c) { return cross(c).second; });
    countingSort(order, [&](std::size_t c) { return cross(c).first; });
    std::vector<std::vector<std::size_t>> groups;
    for (std::size_t k = 1; k < order.size(); ++k) {
        if (cross(order[k]) == cross(order[k - 1])) {
            if (groups.empty() || groups.back().back() != order[k - 1]) {
                groups.push_back({order[k - 1]});
            }
            groups.back().push_back(order[k]);
        }
    }
    return groups;
}

void leaveOutDoubles(const Grid& grid, const std::vector<Cell>& cells, RegionSearch& search,
                     JoinedCloth& cloth) {
    std::vector<char> doubled(cloth.cells.size(), 0);
    for (const auto& group : cellsAtOnePlace(grid, cloth)) {
        std::vector<Seen> seen;
        for (const std::size_t c : group) {
            const auto footholds = footholdsOf(grid, cells, cloth.cells[c]);
            seen.push_back(
                {c, footholds.size(), trianglesUnder(cloth.mapOf(grid, cloth.cells[c]), footholds, search)});
        }
        std::stable_sort(seen.begin(), seen.end(),
                         [](const Seen& a, const Seen& b) { return a.footholds > b.footholds; });
        for (std::size_t b = 1; b < seen.size(); ++b) {
            doubled[seen[b].cell] = std::any_of(seen.begin(), seen.begin() + static_cast<std::ptrdiff_t>(b),
                                                [&](const Seen& a) { return shareMould(a, seen[b]); });
        }
    }
    std::size_t c = 0;
    std::erase_if(cloth.cells, [&](const JoinedCell&) { return doubled[c++] != 0; });
}

FlatPoint flatIn(const Grid& grid, const JoinedCell& cell, const FlatPoint& place) {
    const FlatPoint low = nodeFlat(grid, cell.places[0]);
    const FlatPoint high = nodeFlat(grid, cell.places[2]);
    return {low[0] + place[0] * (high[0] - low[0]), low[1] + place[1] * (high[1] - low[1])};
}

} // namespace drape::host
