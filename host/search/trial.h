// One drape from one start: the mould or the patch of it around the seed, the run, and what came out.
#pragma once

#include "host/cloth/grid.h"
#include "host/cloth/measure.h"
#include "host/cloth/run.h"
#include "host/cloth/surface.h"

#include <functional>

namespace drape::host {

// What holds for every drape of a surface, wherever it starts.
struct TrialWishes {
    StartWishes start;
    std::optional<std::int32_t> mostNodes; // else what several layers of cloth take
    double lockingAngle = 45.0;            // degrees
    std::optional<double> within;          // drape the patch within this distance of the seed
    bool withinLargest = false;            // find the largest patch that drapes in one layer
    bool measured = true; // else a drape that names no patch leaves its measures empty, to be taken later
};

struct Trial {
    std::shared_ptr<const Mould> mould; // the surface's own, or that of the patch; never null
    Choice choice;
    Grid grid;
    Measures measures;
    Side side;
    double angle = 0.0;           // degrees about the normal at the seed
    std::optional<double> within; // distance along the surface that the patch was cut at
    double seconds = 0.0;         // of the library's run
};

// How one patch fared in the search for the largest.
enum class PatchOutcome { drapes, ends, tooSmall, locks, liesOverItself };
struct PatchTried {
    double radius = 0.0; // along the surface
    PatchOutcome outcome = PatchOutcome::drapes;
    std::int32_t status = 0; // the library's code
};

// Those who look on; each can be left out.
struct TrialWatch {
    RunWatch* run = nullptr;
    std::function<void(const PatchTried&)> patchTried;
};

// `angle` in degrees. Throws InputError if the surface around the seed can't be draped, or would take more
// cells than a common machine holds (tooFine).
Trial drapeFrom(const Surface& surface, const TrialWishes& wishes, const Point& seed, double angle,
                Notes& notes, const TrialWatch& watch = {});

} // namespace drape::host
