// How much cloth the mould asks for by its own area: that of each triangle over the cosine of the shear on
// it. The net area falls short of it by what the chords of the cells cut off, so it tells whether the cells
// are small enough for the mould.
#pragma once

#include "host/cloth/measure.h"

#include <optional>

namespace drape::host {

// The sum over the part of the mould that lies under cloth, each place counted once however many layers lie
// there; in the mould's unit squared. It costs about as much as the rest of the measures.
double areaByShear(const Mould& mould, const Grid& grid, const Measures& measures);

// How much more the net area is than that sum, as a share of it; cloth that lies over other cloth counts in
// both. Below 0 by what the chords cut off; above 0 where cells shear so far that they nearly fold. Nothing
// where there is no cloth.
std::optional<double> chordError(const Measures& measures, double areaByShear);

// A pattern that falls further short than this share is drawn from cells that are too large for the mould.
constexpr double mostChordLoss = 0.01;

} // namespace drape::host
