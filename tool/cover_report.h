// What the program says about several pieces: a summary for people and a JSON report for programs.
#pragma once

#include "host/search/cover.h"
#include "tool/settings.h"

namespace tool {

std::string coverSummary(const Settings& settings, const Surface& surface, const PieceSet& set);
std::string coverJson(const Settings& settings, const Surface& surface, const PieceSet& set,
                      double wallSeconds);

// The set in a line, for drawings.
std::string captionOf(const PieceSet& set);

} // namespace tool
