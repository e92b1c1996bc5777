// Drapes the candidates of a sweep, one thread per core.
#pragma once

#include "host/search/ranking.h"
#include "tool/log.h"
#include "tool/settings.h"

namespace tool {

// The candidates of this part, in an order that hangs on the settings and the surface alone.
std::vector<Candidate> candidatesFor(const Settings& settings, const Surface& surface);

// Best first.
std::vector<SweepResult> sweepOverThreads(const Settings& settings, const Surface& surface,
                                          const std::vector<Candidate>& candidates, const Log& log);

} // namespace tool
