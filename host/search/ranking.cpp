// Each result gets a row of keys, the weightiest first, and rows are compared as words are.
#include "host/search/ranking.h"

#include "drape.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <exception>
#include <limits>

namespace drape::host {
namespace {

// Whole drapes that cover at least this part of what the best one covers are compared by their shear.
constexpr double nearlyAsMuch = 0.9;

// Figures that differ by less are equal: rounding, as of another unit or of single precision, ranks nothing.
constexpr double sameShear = 1e-4; // degrees
constexpr double sameShare = 1e-6;

double inStepsOf(double step, double value) {
    return std::round(value / step);
}

} // namespace

SweepResult tried(const Surface& surface, const TrialWishes& wishes, const Candidate& candidate) {
    SweepResult result;
    result.candidate = candidate;
    try {
        Notes untold;
        const Trial trial = drapeFrom(surface, wishes, candidate.seed, candidate.angle, untold);
        const Measures& m = trial.measures;
        result.candidate.seed = trial.choice.seed;
        result.ran = true;
        result.status = trial.grid.status;
        result.nodes = trial.grid.count;
        result.cells = static_cast<std::int64_t>(m.cellsOnSurface);
        result.meanShear = m.meanShear;
        result.largestShear = m.largestShear;
        result.shareBeyondLocking = m.shareBeyondLocking;
        result.coveredShare = m.coveredShare;
        result.doubledShare = m.doubledShare;
        result.netArea = m.net.area;
        result.netWidth = m.net.extent[2] - m.net.extent[0];
        result.netHeight = m.net.extent[3] - m.net.extent[1];
        result.within = trial.within.value_or(-1.0);
    } catch (const std::exception&) {
        result.ran = false;
    }
    return result;
}

bool isWhole(const SweepResult& r) {
    return r.ran && r.status == DRAPE_OK && r.cells > 0;
}

bool isSingleLayer(const SweepResult& r) {
    return r.doubledShare <= mostDoubled;
}

void rank(std::vector<SweepResult>& results, bool byCloth) {
    double mostCovered = 0.0;
    double mostCloth = 0.0;
    for (const SweepResult& r : results) {
        mostCovered = isWhole(r) && isSingleLayer(r) ? std::max(mostCovered, r.coveredShare) : mostCovered;
        mostCloth = std::max(mostCloth, r.netArea);
    }
    constexpr double least = std::numeric_limits<double>::min();
    // Each result's keys, the smaller the better, the weightiest first.
    const auto keys = [&](const SweepResult& r) {
        const double area = inStepsOf(sameShare * std::max(mostCloth, least), r.netArea);
        const double cloth = byCloth ? -area : (isWhole(r) ? 0.0 : inStepsOf(sameShare, -r.coveredShare));
        return std::array<double, 8>{isWhole(r) ? 0.0 : 1.0,
                                     r.ran ? 0.0 : 1.0,
                                     isSingleLayer(r) ? 0.0 : 1.0,
                                     byCloth || r.coveredShare >= nearlyAsMuch * mostCovered ? 0.0 : 1.0,
                                     cloth,
                                     inStepsOf(sameShear, r.largestShear),
                                     inStepsOf(sameShare, r.shareBeyondLocking),
                                     area};
    };
    std::stable_sort(results.begin(), results.end(),
                     [&](const SweepResult& a, const SweepResult& b) { return keys(a) < keys(b); });
}

std::vector<SweepResult> sweep(const Surface& surface, const TrialWishes& wishes,
                               const std::vector<Candidate>& candidates, const Spread& spread) {
    std::vector<SweepResult> results =
        spread(candidates.size(), [&](std::size_t i) { return tried(surface, wishes, candidates[i]); });
    rank(results, wishes.withinLargest);
    return results;
}

} // namespace drape::host
