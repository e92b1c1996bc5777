// Which of many territories to take so that together they cover a surface: greedily, the one that adds most
// first (V. Chvátal, A greedy heuristic for the set-covering problem, 1979), then by exchanging single ones
// for better.
#pragma once

#include "host/search/territory.h"

namespace drape::host {

struct CoverChoice {
    std::vector<std::size_t> taken; // indices into the territories, rising
    double coveredShare = 0.0;      // of the ground's area
};

// Vertices count as covered where a territory is deeper than `margin`. The fewest that reach `share`, or all
// that each add more than `leastGain` of the area; never more than `most`. Those in `kept` are taken in any
// case, and then nothing is exchanged.
CoverChoice chosenOf(const Ground& ground, const std::vector<Territory>& territories, double share,
                     double margin, double leastGain, std::size_t most,
                     const std::vector<std::size_t>& kept = {});

} // namespace drape::host
