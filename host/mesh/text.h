// Numbers, points and counts as a reader likes them.
#pragma once

#include "host/mesh/point.h"

#include <string>

namespace drape::host {

std::string number(double value, int digits = 4); // significant digits, no trailing zeros
std::string fixed(double value, int decimals);    // digits after the point

// (x, y, z), with four significant digits or as many as it takes to show differences of `fine`.
std::string pointText(const Point& point, double fine = 0.0);

// "1 hole", "3 holes".
std::string counted(std::size_t count, const std::string& one, const std::string& many);

} // namespace drape::host
