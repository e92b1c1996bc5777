// One drape: the call of the library, with arrays of a fitting size and a word on progress meanwhile.
#pragma once

#include "drape_data.h"
#include "log.h"

namespace tool {

// Nodes beyond which a drape is given up unless the caller says otherwise: several layers all over the mould,
// as cloth makes that winds round and round it, and never more than a common machine holds with ease.
std::int32_t usualMostNodes(const Mould& mould, const Choice& choice);

// Fills `choice.nodeCapacity` in. Runs again with more room if the nodes don't suffice, up to `mostNodes`.
// `talkative` shows the progress on stderr when the run takes over a second.
Grid runDrape(const Mould& mould, Choice& choice, std::int32_t mostNodes, bool talkative);

// Cells that a mould of this area will take, roughly.
double expectedCells(const Mould& mould, const Choice& choice);

// Cells, shear, pattern and cover of a grid, finished or not.
Measures measure(const Mould& mould, const Grid& grid, double lockingAngle);

// Cloth may lie over itself by this share of the mould's area before that is more than rounding of the
// measure.
constexpr double mostDoubled = 0.05;

} // namespace tool
