// The part of one cell that lies over the mould, bounded by pieces of the mould's edge and of the cell's
// sides.
#pragma once

#include "host/cloth/flat_overlap.h"
#include "host/cloth/underside.h"

namespace drape::host {

// A place on the mould's edge within a cell.
struct EdgePlace {
    std::int32_t edge = -1; // boundary edge
    double share = 0.0;     // 0 to 1 along it
    FlatPoint place{};      // u and v in the cell
};

// A piece of the mould's edge inside a cell, the mould to its left. `enters` and `leaves` run along the
// cell's rim, 0 to 4 counter-clockwise from the corner (0, 0). A closed piece meets the rim nowhere.
struct NetArc {
    std::vector<EdgePlace> places;
    bool closed = false;
    double enters = 0.0, leaves = 0.0;
};

struct CellRegion {
    bool whole = false; // else bounded by `arcs` and `rim`; empty if those are
    std::vector<NetArc> arcs;
    std::vector<std::array<double, 2>> rim;       // stretches of the rim over the mould, each within one side
    std::vector<std::vector<FlatPoint>> polygons; // in u and v, solid to the left
};

// `near` lists all boundary edges that can reach the cell.
CellRegion regionOf(const CellMap& cell, const std::vector<Foothold>& footholds,
                    const std::vector<std::int32_t>& near, RegionSearch& search);

} // namespace drape::host
