// The cloth as one sheet: nodes that a cut has doubled count as one where they still lie on each other, and
// so do the cells between them.
#pragma once

#include "host/cloth/grid.h"
#include "host/cloth/net_region.h"

namespace drape::host {

struct JoinedCell {
    std::array<std::int32_t, 4> places{}; // its corners, as in Cell
    std::array<std::int32_t, 4> knots{};  // the same for the outline
    std::vector<std::size_t> cells;       // the measured cells that are this one, the first for all of them
};

struct JoinedCloth {
    // Per node, the lowest node at its place of the cloth, and the lowest with the same grid coordinates less
    // than half a cell away, which is the same cloth too where two rows met at the end of a cut.
    std::vector<std::int32_t> placeOf, knotOf;
    std::vector<Point> normals;      // per place, unit vector, mean of the cells around it
    std::vector<JoinedCell> cells;   // those with a foothold, in the order of their first cells
    double stepA = 0.0, stepB = 0.0; // cell lengths

    CellMap mapOf(const Grid& grid, const JoinedCell& cell) const;
};

JoinedCloth joinedCloth(const Grid& grid, const std::vector<Cell>& cells);

// Where rows met at the end of a cut, the same cloth can stand twice on the same mould. Leaves out all but
// the one with the most open corners of cells that have the same place on the pattern and the same mould
// underneath.
void leaveOutDoubles(const Grid& grid, const std::vector<Cell>& cells, RegionSearch& search,
                     JoinedCloth& cloth);

// The joined cells that share each place of the pattern, where there are several.
std::vector<std::vector<std::size_t>> cellsAtOnePlace(const Grid& grid, const JoinedCloth& cloth);

// Where u and v of a joined cell lie on the pattern.
FlatPoint flatIn(const Grid& grid, const JoinedCell& cell, const FlatPoint& place);

// Open nodes on the mould among the corners of a joined cell.
std::vector<Foothold> footholdsOf(const Grid& grid, const std::vector<Cell>& cells, const JoinedCell& joined);

} // namespace drape::host
