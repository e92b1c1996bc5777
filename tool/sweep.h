// Drapes many seeds and angles, one process per core, and ranks what came out. The library holds one run per
// process, so the candidates go to processes, not threads.
#pragma once

#include "log.h"
#include "surface.h"

namespace tool {

struct Candidate {
    std::size_t number = 0; // 1-based, over all parts
    Point seed{};
    double angle = 0.0; // degrees
};

struct SweepResult {
    Candidate candidate;
    bool ran = false;        // false if the surface around this seed can't be draped at all
    std::int32_t status = 0; // the library's code
    std::int32_t nodes = 0;
    std::int64_t cells = 0; // on the surface
    double meanShear = 0.0;
    double largestShear = 0.0;
    double shareBeyondLocking = 0.0;
    double coveredShare = 0.0;
    double doubledShare = 0.0;
    double patternArea = 0.0;
    double patternWidth = 0.0;
    double patternHeight = 0.0;
    double within = -1.0; // radius of the patch, below 0 for the whole surface
};

// The candidates of this part, in an order that hangs on the settings and the surface alone.
std::vector<Candidate> candidatesOf(const Settings& settings, const Surface& surface);

// Best first: whole drapes before those that ended with a code; cloth in one layer before cloth over cloth;
// among them those that cover nearly as much as the best do; then by largest shear, share beyond locking and
// pattern area. With the largest patch wanted, whole drapes go by the cloth they hold.
std::vector<SweepResult> sweep(const Settings& settings, const Surface& surface, const Log& log);

// Rows in the order of the candidates. The head line comes with the first part only, so that the files of all
// parts make one table when they are put one behind the other.
std::string sweepCsv(std::vector<SweepResult> results, bool withHead);

// The best results as a table for people.
std::string sweepTable(const std::vector<SweepResult>& ranked, std::size_t most);

} // namespace tool
