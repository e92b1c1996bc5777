// The cells of a drape, asked for the one that lies over a place of its mould. At a slit the cells of both
// sides hang over the same places in space, and each place belongs to one of them.
#pragma once

#include "host/cloth/cell_cover.h"
#include "host/cloth/measure.h"

namespace drape::host {

class DrapedCells {
public:
    // Both must outlive it; `measures` with the net pattern.
    DrapedCells(const Grid& grid, const Measures& measures);

    // The nearest cell that lies over the facet, as CellCover has it; across a slit one whose own part of the
    // mould lies there, if there is one.
    CellPlace nearestOver(const Facet& facet) const;

private:
    bool isOnMould(const CellPlace& place) const;
    bool areOne(std::int32_t a, std::int32_t b) const;
    bool areNeighbours(const CellPlace& one, const CellPlace& other) const;

    const Grid& grid_;
    const Measures& measures_;
    CellCover cells_;
};

} // namespace drape::host
