// What came of each candidate of a search, and which is the best.
#pragma once

#include "host/search/candidates.h"
#include "host/search/trial.h"

#include <cstdint>
#include <functional>
#include <vector>

namespace drape::host {

// Plain values, so that a process can hand it to another as bytes.
struct SweepResult {
    Candidate candidate;     // its seed as it came to lie on the surface
    bool ran = false;        // false if the surface around this seed can't be draped at all
    std::int32_t status = 0; // the library's code
    std::int32_t nodes = 0;
    std::int64_t cells = 0; // on the surface
    double meanShear = 0.0; // degrees, as the largest
    double largestShear = 0.0;
    double shareBeyondLocking = 0.0; // 0 to 1, as the shares below, see Measures
    double coveredShare = 0.0;
    double doubledShare = 0.0;
    double netArea = 0.0;  // of the net pattern, in the mould's unit squared
    double netWidth = 0.0; // along the warp, in the mould's unit, as the height along the weft
    double netHeight = 0.0;
    double within = -1.0; // radius of the patch, below 0 for the whole surface
};

// Drapes one candidate. Whatever goes wrong with it is part of the result.
SweepResult tried(const Surface& surface, const TrialWishes& wishes, const Candidate& candidate);

// The drape came to its end and holds cloth.
bool isWhole(const SweepResult& result);

// Next to no cloth lies over other cloth.
bool isSingleLayer(const SweepResult& result);

// Best first: whole drapes before those that ended with a code; cloth in one layer before cloth over cloth;
// among them those that cover nearly as much as the best do; then by largest shear, share beyond locking and
// net area. With `byCloth`, whole drapes go by the cloth they hold. Results of equal worth, but for rounding,
// keep their order.
void rank(std::vector<SweepResult>& results, bool byCloth);

// Carries out `work(0)` to `work(count - 1)`, in any order and anywhere, and returns what they gave, in
// order.
using Spread = std::function<std::vector<SweepResult>(std::size_t count,
                                                      const std::function<SweepResult(std::size_t)>& work)>;

// All candidates, each drape where `spread` puts it, ranked.
std::vector<SweepResult> sweep(const Surface& surface, const TrialWishes& wishes,
                               const std::vector<Candidate>& candidates, const Spread& spread);

} // namespace drape::host
