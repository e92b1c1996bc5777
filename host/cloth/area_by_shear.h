// How much cloth the mould asks for by its own area: that of each triangle over the cosine of the shear on
// it, for each layer of cloth. The net area falls short of it by what the chords of the cells cut off, so it
// tells whether the cells are small enough for the mould.
#pragma once

#include "host/cloth/measure.h"

#include <optional>

namespace drape::host {

struct AreaByShear {
    double sum = 0.0; // in the mould's unit squared; cloth that is folded back counts in each of its layers
    Point shortAt{};  // the node around which the pattern's cloth falls short of the mould's the most,
    Point longAt{};   // and the one around which there is the most too much
};

// `measures` are whole.
AreaByShear areaByShear(const Mould& mould, const Grid& grid, const Measures& measures);

// How much more the net area is than that sum, as a share of it: below 0 by what the chords cut off, above 0
// where cells at the rim or over steep places aren't like those beside them. Nothing where there is no cloth.
std::optional<double> chordError(const Measures& measures, const AreaByShear& byShear);

// A pattern that is further off than this share is drawn from cells that are too large for the mould.
constexpr double mostChordError = 0.01;

} // namespace drape::host
