// A patch is cut out of the surface first if one is asked for. The largest patch that drapes without a code
// is found by bisection: a radius that works moves the lower end, one that doesn't the upper.
#include "host/search/trial.h"

#include "drape.h"
#include "host/mesh/error.h"
#include "host/mesh/patch.h"
#include "host/mesh/text.h"
#include "host/mesh/topology.h"

#include <algorithm>
#include <chrono>
#include <cmath>

namespace drape::host {
namespace {

// The bisection ends when its two ends lie this part of a cell apart, or after so many runs.
constexpr double radiusShare = 0.25;
constexpr int mostBisections = 24;

struct Runner {
    const Surface& surface;
    const TrialWishes& wishes;
    double angle;
    const TrialWatch& watch;

    // Drapes `mould`, which holds `seed` on its surface.
    Trial run(std::shared_ptr<const Mould> mould, const Point& seed, Notes& notes) const {
        Trial trial;
        trial.side = surface.side;
        trial.angle = angle;
        trial.mould = std::move(mould);
        const SurfacePoint start = seedOn(*trial.mould, seed, surface.steps, notes);
        trial.choice = choiceAt(*trial.mould, start, wishes.start, angle, surface.steps, notes);
        requireEdge(*trial.mould);
        nameHoles(trial.mould->loops, trial.mould->positions, NoteKind::holesLeft,
                  "; cloth that runs into a hole ends there", notes);
        const std::int32_t mostNodes = wishes.mostNodes.value_or(usualMostNodes(*trial.mould, trial.choice));
        const double cells = expectedCells(*trial.mould, trial.choice);
        if (cells > mostNodes && !wishes.mostNodes) {
            throw InputError("a step of " + number(surface.steps[0]) + " makes about " + number(cells, 3) +
                                 " cells on this surface",
                             Refusal::tooFine);
        }
        const auto begin = std::chrono::steady_clock::now();
        trial.grid = runDrape(*trial.mould, trial.choice, mostNodes, watch.run);
        trial.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
        if (wishes.measured || wishes.within || wishes.withinLargest) {
            trial.measures = measure(*trial.mould, trial.grid, wishes.lockingAngle);
        }
        return trial;
    }

    Trial runWithin(const SurfacePoint& seed, const std::vector<double>& distances, double radius,
                    Notes& notes) const {
        Sheet patch = sheetOf(patchWithin(surface.mesh, seed, distances, radius), notes);
        Trial trial = run(std::make_shared<const Mould>(mouldOf(std::move(patch))), seed.position, notes);
        trial.within = radius;
        return trial;
    }

    void tell(double radius, PatchOutcome outcome, std::int32_t status) const {
        if (watch.patchTried) {
            watch.patchTried({radius, outcome, status});
        }
    }
};

PatchOutcome outcomeOf(const Trial& trial) {
    if (trial.grid.status != DRAPE_OK) {
        return PatchOutcome::ends;
    }
    if (trial.measures.cellsOnSurface == 0) {
        return PatchOutcome::tooSmall;
    }
    if (trial.measures.largestShear > trial.measures.lockingAngle) {
        return PatchOutcome::locks;
    }
    return trial.measures.doubledShare <= mostDoubled ? PatchOutcome::drapes : PatchOutcome::liesOverItself;
}

// The first radius holds the whole piece. On a closed piece there's no such patch, since it has no edge.
Trial largestPatch(const Runner& runner, const SurfacePoint& seed, const std::vector<double>& distances,
                   Notes& notes) {
    Notes untold;
    const double farthest = *std::max_element(distances.begin(), distances.end());
    std::optional<Trial> best;
    try {
        Trial whole = runner.runWithin(seed, distances, farthest, untold);
        if (outcomeOf(whole) == PatchOutcome::drapes) {
            return whole;
        }
    } catch (const InputError& error) {
        if (error.refusal == Refusal::tooFine) {
            throw;
        }
        tell(notes, NoteKind::wholePieceClosed,
             "the whole piece is closed; looking for the largest part of it");
    }
    double low = 0.0;
    double high = farthest;
    const double enough = radiusShare * std::min(runner.surface.steps[0], runner.surface.steps[1]);
    for (int i = 0; i < mostBisections && high - low > enough; ++i) {
        const double middle = 0.5 * (low + high);
        Trial trial = runner.runWithin(seed, distances, middle, untold);
        const PatchOutcome outcome = outcomeOf(trial);
        runner.tell(middle, outcome, trial.grid.status);
        // A patch too small for a single cell ends without a code and shows nothing.
        if (outcome == PatchOutcome::drapes || (outcome == PatchOutcome::tooSmall && !best)) {
            low = middle;
        } else {
            high = middle;
        }
        if (outcome == PatchOutcome::drapes) {
            best = std::move(trial);
        }
    }
    return best ? std::move(*best) : runner.runWithin(seed, distances, farthest, untold);
}

} // namespace

Trial drapeFrom(const Surface& surface, const TrialWishes& wishes, const Point& seed, double angle,
                Notes& notes, const TrialWatch& watch) {
    const Runner runner{surface, wishes, angle, watch};
    if (!wishes.within && !wishes.withinLargest) {
        return runner.run(surface.mould, seed, notes);
    }
    const SurfacePoint start = seedOn(*surface.mould, seed, surface.steps, notes);
    const std::vector<double> distances = distancesAlong(surface.mesh, start);
    if (wishes.within) {
        return runner.runWithin(start, distances, *wishes.within, notes);
    }
    choiceAt(*surface.mould, start, wishes.start, angle, surface.steps, notes); // the runs below say nothing
    return largestPatch(runner, start, distances, notes);
}

} // namespace drape::host
