// Results of a sweep as JSON, to cross from worker to worker and back to where they are ranked.
#pragma once

#include "host/search/ranking.h"

#include <nlohmann/json.hpp>

namespace tool {

using namespace drape::host;
using Json = nlohmann::ordered_json;

Json jsonOf(const SweepResult& result);
SweepResult sweepResultOf(const Json& json);

} // namespace tool
