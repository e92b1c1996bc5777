// The lines along which a ply is cut: those of the net pattern, moved outward by an allowance.
#pragma once

#include "host/cloth/net_pattern.h"

#include <string>
#include <vector>

namespace tool {

using namespace drape::host;

// Lengths in the mould's unit.
struct CutLines {
    double allowance = 0.0;
    std::vector<std::vector<FlatPoint>> loops; // as those of the net pattern: solid to the left
    double area = 0.0;
    std::vector<std::string> remarks; // what it does to the shape besides making it larger by the allowance
};

// Those of the net itself.
inline CutLines netLinesOf(const NetPattern& net) {
    CutLines lines;
    lines.area = net.area;
    for (const NetLoop& loop : net.loops) {
        lines.loops.push_back(loop.flat);
    }
    return lines;
}

CutLines cutLinesOf(const NetPattern& net, double allowance);

// "the cut line with an allowance of 5"
std::string nameOf(const CutLines& lines);

} // namespace tool
