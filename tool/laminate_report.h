// What the program says about a laminate: tables for people and a JSON report for programs.
#pragma once

#include "tool/draw/ply_sheet.h"
#include "tool/settings.h"

#include <memory>

namespace tool {

// As for the report of a drape: goes up when a member changes its meaning or goes away.
constexpr int laminateReportVersion = 1;

struct LaminateStory {
    const Settings& settings;
    const Laminate& laminate;
    const std::vector<std::unique_ptr<PlySheet>>& sheets; // one per ply or piece
    const std::vector<CoreSample>& cores;
    std::size_t bareElements = 0;
    double wallSeconds = 0.0;
};

std::string laminateSummary(const LaminateStory& story);
std::string laminateJson(const LaminateStory& story);

} // namespace tool
