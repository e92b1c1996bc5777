// A patch is cut out of the surface first if one is asked for. The largest patch that drapes without a code
// is found by bisection: a radius that works moves the lower end, one that doesn't the upper.
#include "trial.h"

#include "drape.h"
#include "drape_run.h"
#include "errors.h"
#include "mesh_topology.h"
#include "mould.h"
#include "patch.h"
#include "start.h"
#include "text.h"

#include <algorithm>
#include <chrono>
#include <cmath>

namespace tool {
namespace {

// The bisection ends when its two ends lie this part of a cell apart, or after so many runs.
constexpr double radiusShare = 0.25;
constexpr int mostBisections = 24;

struct Runner {
    const Surface& surface;
    const Settings& settings;
    double angle;
    const Log& log;
    bool talkative;

    // Drapes `mesh`, which holds `seed` on its surface.
    Trial run(const TriangleMesh& mesh, const Point& seed, const Log& told) const {
        Trial trial;
        trial.angle = angle;
        const SurfacePoint start = nearestSurfacePoint(mesh, seed);
        trial.choice = choiceAt(mesh, start, settings, angle, surface.steps, told);
        trial.mould = mouldOf(mesh, told);
        const std::int32_t mostNodes = settings.mostNodes.value_or(usualMostNodes(trial.mould, trial.choice));
        const double cells = expectedCells(trial.mould, trial.choice);
        if (cells > mostNodes && !settings.mostNodes) {
            throw UsageError(
                "a step of " + number(surface.steps[0]) + " makes about " + number(cells, 3) +
                " cells on this surface; take a larger --step, or allow for them with --max-nodes");
        }
        const auto begin = std::chrono::steady_clock::now();
        trial.grid = runDrape(trial.mould, trial.choice, mostNodes, talkative);
        trial.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
        trial.measures = measure(trial.mould, trial.grid, settings.lockingAngle);
        return trial;
    }

    Trial runWithin(const SurfacePoint& seed, const std::vector<double>& distances, double radius,
                    const Log& told) const {
        const TriangleMesh patch = patchWithin(surface.mesh, seed, distances, radius);
        Trial trial = run(manifoldOf(patch, told), seed.position, told);
        trial.within = radius;
        return trial;
    }
};

bool succeeded(const Trial& trial) {
    return trial.grid.status == DRAPE_OK && trial.measures.cellsOnSurface > 0 &&
           trial.measures.doubledShare <= mostDoubled;
}

std::string outcome(const Trial& trial) {
    if (trial.grid.status != DRAPE_OK) {
        return "ends with code " + std::to_string(trial.grid.status);
    }
    return succeeded(trial)
               ? "drapes"
               : (trial.measures.cellsOnSurface == 0 ? "too small for a cell" : "lies over itself");
}

// Distance that holds the whole piece. On a closed piece there's no such patch, since it has no edge.
Trial largestPatch(const Runner& runner, const SurfacePoint& seed, const std::vector<double>& distances) {
    const Log silent(Talk::silent);
    const double farthest = *std::max_element(distances.begin(), distances.end());
    std::optional<Trial> best;
    try {
        Trial whole = runner.runWithin(seed, distances, farthest, silent);
        if (succeeded(whole)) {
            return whole;
        }
    } catch (const InputError&) {
        runner.log.detail("the whole piece is closed; looking for the largest part of it");
    }
    double low = 0.0;
    double high = farthest;
    const double enough = radiusShare * std::min(runner.surface.steps[0], runner.surface.steps[1]);
    for (int i = 0; i < mostBisections && high - low > enough; ++i) {
        const double middle = 0.5 * (low + high);
        Trial trial = runner.runWithin(seed, distances, middle, silent);
        const bool good = succeeded(trial);
        runner.log.detail("within " + number(middle) + ": " + outcome(trial));
        // A patch too small for a single cell ends without a code and shows nothing.
        const bool tooSmall = trial.grid.status == DRAPE_OK && trial.measures.cellsOnSurface == 0;
        if (good || (tooSmall && !best)) {
            low = middle;
        } else {
            high = middle;
        }
        if (good) {
            best = std::move(trial);
        }
    }
    return best ? std::move(*best) : runner.runWithin(seed, distances, farthest, runner.log);
}

} // namespace

Trial drapeFrom(const Surface& surface, const Settings& settings, const Point& seed, double angle,
                const Log& log, bool talkative) {
    const Runner runner{surface, settings, angle, log, talkative};
    if (!settings.within && !settings.withinLargest) {
        return runner.run(surface.mesh, seed, log);
    }
    const SurfacePoint start = nearestSurfacePoint(surface.mesh, seed);
    const std::vector<double> distances = distancesAlong(surface.mesh, start);
    if (settings.within) {
        return runner.runWithin(start, distances, *settings.within, log);
    }
    choiceAt(surface.mesh, start, settings, angle, surface.steps, log); // the many runs below say nothing
    return largestPatch(runner, start, distances);
}

} // namespace tool
