// Numbers, points and counts as a reader likes them.
#pragma once

#include "host/mesh/point.h"

#include <string>

namespace drape::host {

std::string number(double value, int digits = 4); // significant digits, no trailing zeros
std::string fixed(double value, int decimals);    // digits after the point
std::string pointText(const Point& point);        // (x, y, z)
std::string counted(std::size_t count, const std::string& one, const std::string& many);

} // namespace drape::host
