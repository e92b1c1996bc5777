// What of a hanging cell lies on the mould is what the net pattern has of it. Cells on the two sides of a
// slit have no node in common, nor two at one place; of cells that have, as at any other edge or where rows
// met and the same cloth stands twice, the nearest one is taken.
#include "host/cloth/draped_cells.h"

#include <algorithm>

namespace drape::host {

using namespace vec;

DrapedCells::DrapedCells(const Grid& grid, const Measures& measures)
    : grid_(grid), measures_(measures), cells_(grid, measures.cells) {}

bool DrapedCells::isOnMould(const CellPlace& place) const {
    const auto& parts = measures_.net.clippedCells;
    const auto part = std::lower_bound(parts.begin(), parts.end(), place.cell,
                                       [](const ClippedCell& p, std::size_t cell) { return p.cell < cell; });
    if (part == parts.end() || part->cell != place.cell) {
        return false;
    }
    const FlatPoint flat = flatPlace(grid_, measures_.cells[place.cell], place);
    const auto around = std::count_if(part->polygons.begin(), part->polygons.end(),
                                      [&](const auto& polygon) { return liesWithin(flat, polygon); });
    return around % 2 == 1;
}

// Whether two nodes are one of the cloth: by number, or the same crossing of yarns less than half a cell
// away.
bool DrapedCells::areOne(std::int32_t a, std::int32_t b) const {
    constexpr double near = 0.5;
    return a == b || (nodeFlat(grid_, a) == nodeFlat(grid_, b) &&
                      distance(nodePosition(grid_, a), nodePosition(grid_, b)) < near * cells_.cellLength());
}

bool DrapedCells::areNeighbours(const CellPlace& one, const CellPlace& other) const {
    const auto& nodes = measures_.cells[one.cell].nodes;
    const auto& others = measures_.cells[other.cell].nodes;
    return std::find_first_of(nodes.begin(), nodes.end(), others.begin(), others.end(),
                              [&](auto a, auto b) { return areOne(a, b); }) != nodes.end();
}

CellPlace DrapedCells::nearestOver(const Facet& facet) const {
    const CellPlace nearest = cells_.nearestOver(facet);
    if (nearest.cover != Cover::edge || isOnMould(nearest)) {
        return nearest;
    }
    const CellPlace own = cells_.nearestOver(facet, [&](const CellPlace& place) { return isOnMould(place); });
    return own.cover == Cover::edge && !areNeighbours(own, nearest) ? own : nearest;
}

} // namespace drape::host
