// A node stays on the surface if the part comes as near to it as rounding lets two places be that are the
// same. Cells with such a corner stay, and those around them, as a run leaves cells beyond the mould's edge.
#include "host/cloth/trimmed_grid.h"

#include "drape.h"
#include "host/cloth/measure.h"
#include "host/cloth/mould_mesh.h"
#include "host/mesh/surface_tree.h"

namespace drape::host {

namespace {

constexpr double samePlace = 1e-6; // cells
constexpr std::int32_t gone = 0;

bool isOpen(const Grid& grid, std::int32_t node) {
    return grid.nodeStatus[at(node)] == DRAPE_NODE_OPEN && grid.triangle[at(node)] > 0;
}

void leaveOnPart(Grid& grid, const Mould& part, double step) {
    const TriangleMesh mesh = meshOf(part);
    const SurfaceTree tree(mesh);
    for (std::int32_t n = 0; n < grid.count; ++n) {
        if (isOpen(grid, n)) {
            const SurfacePoint place = tree.nearest(nodePosition(grid, n));
            const bool on = place.distance <= samePlace * step;
            grid.triangle[at(n)] = on ? static_cast<std::int32_t>(place.triangle) + 1 : 0;
            grid.nodeStatus[at(n)] = on ? DRAPE_NODE_OPEN : DRAPE_NODE_CLOSED;
        }
    }
}

// Per node, whether a cell that reaches the part has it, or one beside such a cell.
std::vector<char> nodesNeeded(const Grid& grid) {
    const std::vector<Cell> cells = cellsOf(grid);
    std::vector<char> needed(at(grid.count), 0);
    for (std::int32_t n = 0; n < grid.count; ++n) {
        needed[at(n)] = isOpen(grid, n) ? 1 : 0;
    }
    for (int ring = 0; ring < 2; ++ring) {
        const std::vector<char> before(needed);
        for (const Cell& cell : cells) {
            for (const std::int32_t n : cell.nodes) {
                for (const std::int32_t m : cell.nodes) {
                    needed[at(m)] = before[at(n)] != 0 ? 1 : needed[at(m)];
                }
            }
        }
    }
    needed[0] = 1;
    return needed;
}

template <class T>
void keep(std::vector<T>& values, const std::vector<char>& needed, std::size_t each) {
    std::size_t end = 0;
    for (std::size_t n = 0; n < needed.size(); ++n) {
        for (std::size_t k = 0; needed[n] != 0 && k < each; ++k) {
            values[end++] = values[each * n + k];
        }
    }
    values.resize(end);
}

} // namespace

Grid trimmedTo(const Grid& grid, const Mould& part, double step) {
    Grid trimmed(grid);
    if (grid.count == 0) {
        return trimmed;
    }
    leaveOnPart(trimmed, part, step);
    const std::vector<char> needed = nodesNeeded(trimmed);
    std::vector<std::int32_t> numbers(needed.size(), gone); // new ones
    std::int32_t count = 0;
    for (std::size_t n = 0; n < needed.size(); ++n) {
        numbers[n] = needed[n] != 0 ? ++count : gone;
    }
    for (std::vector<std::int32_t>* links :
         {&trimmed.link1, &trimmed.link2, &trimmed.link3, &trimmed.link4}) {
        keep(*links, needed, 1);
        for (std::int32_t& link : *links) {
            link = link > 0 ? numbers[at(link) - 1] : gone;
        }
    }
    for (std::vector<std::int32_t>* values :
         {&trimmed.i, &trimmed.j, &trimmed.nodeStatus, &trimmed.triangle}) {
        keep(*values, needed, 1);
    }
    keep(trimmed.position, needed, 3);
    keep(trimmed.flat, needed, 2);
    keep(trimmed.normal, needed, 3);
    trimmed.count = count;
    return trimmed;
}

} // namespace drape::host
