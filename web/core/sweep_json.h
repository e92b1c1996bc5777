// Results of a sweep as JSON, to cross from worker to worker and back to where they are ranked.
#pragma once

#include "host/search/ranking.h"
#include "web/core/settings_json.h"

namespace drape::web {

Json jsonOf(const SweepResult& result);
SweepResult sweepResultOf(const Json& json);

} // namespace drape::web
