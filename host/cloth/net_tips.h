// The mould's edge beyond the last cells of the cloth. A corner of the mould can look out between two cells
// at the rim, or lie where the run made no cell; the edge is then followed by the maps of the cells that it
// leaves and enters, less than two cells beyond them.
#pragma once

#include "host/cloth/net_outline.h"

namespace drape::host {

// What lies between the last cells and the mould's edge, counted to the cell that the edge leaves.
struct Tip {
    std::size_t cell = 0; // joined cell
    std::vector<FlatPoint> polygon;
};

// Puts the mould's edge in the place of each run of cloth edges that it goes round in a small bow, and adds
// what that brings to `tips`.
Outline carriedBeyond(const ClothRegions& all, const Outline& line, std::vector<Tip>& tips);

} // namespace drape::host
