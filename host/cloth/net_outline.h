// Joins the outlines of the cells' regions to the outline of the net pattern.
#pragma once

#include "host/cloth/joined_cells.h"
#include "host/cloth/net_pattern.h"

namespace drape::host {

// A point of the outline and what runs from it to the next.
struct OutlinePoint {
    FlatPoint flat{};
    Point space{};
    NetBorder border = NetBorder::cloth;
    std::int32_t edge = -1; // boundary edge that it lies on, -1 for none
    double share = 0.0;     // along that edge
    std::size_t cell = 0;   // the joined cell in which it lies
    std::size_t beside = 0; // of a side of the cloth, the joined cell beyond it; `cell` where there is none
};

using Outline = std::vector<OutlinePoint>; // closed, the first point not repeated

// What is known of the joined cells; all but the regions of whole cells are listed in `regions`.
struct ClothRegions {
    const Mould& mould;
    const Grid& grid;
    const MouldEdges& edges;
    const JoinedCloth& cloth;
    const std::vector<std::int32_t>& regionOf; // per joined cell, entry of `regions`, -1 for a whole cell
    const std::vector<CellRegion>& regions;
    const std::vector<std::vector<std::int32_t>>&
        near; // per entry of `regions`, boundary edges near the cell
};

// Sides of cells that have the pattern on one side only, and the pieces of the mould's edge, chained to
// closed lines that don't cross.
std::vector<Outline> outlinesOf(const ClothRegions& all);

} // namespace drape::host
