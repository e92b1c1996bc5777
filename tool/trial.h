// One drape from one start: the mould or the patch of it around the seed, the run, and what came out.
#pragma once

#include "log.h"
#include "settings.h"
#include "surface.h"

namespace tool {

struct Trial {
    Mould mould;
    Choice choice;
    Grid grid;
    Measures measures;
    double angle = 0.0;           // degrees about the normal at the seed
    std::optional<double> within; // distance along the surface that the patch was cut at
    double seconds = 0.0;         // of the library's run
};

// With `talkative` the progress of a long run shows on a terminal.
Trial drapeFrom(const Surface& surface, const Settings& settings, const Point& seed, double angle,
                const Log& log, bool talkative);

} // namespace tool
