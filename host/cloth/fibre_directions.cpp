// A fibre's direction at a node is that of the chord from the node behind to the node ahead, or of the one
// edge that there is.
#include "host/cloth/fibre_directions.h"

#include "host/cloth/grid.h"
#include "host/mesh/point.h"

namespace drape::host {

using namespace vec;
namespace {

Point chord(const Grid& grid, std::int32_t node, const std::vector<std::int32_t>& behindLinks,
            const std::vector<std::int32_t>& aheadLinks) {
    const auto at = static_cast<std::size_t>(node);
    const auto other = [&](std::int32_t link) { return link > 0 && link <= grid.count ? link - 1 : node; };
    return unit(nodePosition(grid, other(aheadLinks[at])) - nodePosition(grid, other(behindLinks[at])));
}

Point blend(const Grid& grid, std::array<std::int32_t, 4> ends, double part) {
    const Point first = nodePosition(grid, ends[1]) - nodePosition(grid, ends[0]);
    const Point last = nodePosition(grid, ends[3]) - nodePosition(grid, ends[2]);
    return unit(mix(first, last, part));
}

} // namespace

Point warpAtNode(const Grid& grid, std::int32_t node) {
    return chord(grid, node, grid.link3, grid.link1);
}
Point weftAtNode(const Grid& grid, std::int32_t node) {
    return chord(grid, node, grid.link2, grid.link4);
}

Point warpInCell(const Grid& grid, const Cell& cell, double across) {
    const auto& n = cell.nodes;
    return blend(grid, {n[0], n[1], n[3], n[2]}, across);
}

Point weftInCell(const Grid& grid, const Cell& cell, double along) {
    const auto& n = cell.nodes;
    return blend(grid, {n[0], n[3], n[1], n[2]}, along);
}

} // namespace drape::host
