// A core sample as text for people and as a table.
#pragma once

#include "host/laminate/laminate.h"

#include <string>

namespace tool {

using namespace drape::host;

std::string coreText(const Laminate& laminate, const CoreSample& core);

// All samples one behind the other, counted from 1.
std::string coreCsv(const Laminate& laminate, const std::vector<CoreSample>& cores);

} // namespace tool
