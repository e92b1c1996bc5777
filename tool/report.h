// What the program says about a drape: a summary for people and a JSON report for programs.
#pragma once

#include "host/cloth/area_by_shear.h"
#include "host/cloth/curve.h"
#include "host/search/ranking.h"
#include "host/search/trial.h"
#include "tool/good_part.h"
#include "tool/settings.h"

#include <optional>
#include <span>

namespace tool {

// The version of the JSON form goes up when a member changes its meaning or goes away; members may be added
// under the same version. The manual page lists the members.
constexpr int reportVersion = 2;

struct Story {
    const Settings& settings;
    const Trial& trial;
    const CutLines& cut;
    std::span<const CurveResult> curves;
    const std::vector<SweepResult>* ranked = nullptr; // null without a sweep
    double wallSeconds = 0.0;
    const GoodPart* good = nullptr;              // null where the drape is good all over
    std::optional<Point> passedOver = {};        // the middle, where the start was found beside it
    std::optional<AreaByShear> areaByShear = {}; // nothing where it wasn't asked
};

// Of the drape that is told of; none where the good part isn't kept.
std::span<const Dart> dartsOf(const Story& story);

std::string summaryOf(const Story& story);
std::string jsonOf(const Story& story);

// What happened where, for a run that ended with a code.
std::string endOf(const Trial& trial);

} // namespace tool
