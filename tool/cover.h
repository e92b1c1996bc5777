// Covers a surface with several pieces, on all cores, and tells and writes what came out.
#pragma once

#include "host/search/cover.h"
#include "tool/log.h"
#include "tool/settings.h"

#include <chrono>

namespace tool {

// Returns the program's exit code. `faceNumbers` are the file's, as in a scene; times count from `begin`.
int coverAndTell(const Settings& settings, const Surface& surface,
                 const std::vector<std::int64_t>& faceNumbers, const Log& log,
                 std::chrono::steady_clock::time_point begin);

} // namespace tool
