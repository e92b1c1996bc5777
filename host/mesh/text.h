// Numbers, points, counts and words as a reader likes them.
#pragma once

#include "host/mesh/point.h"

#include <string>
#include <string_view>

namespace drape::host {

std::string number(double value, int digits = 4); // significant digits, no trailing zeros
std::string fixed(double value, int decimals);    // digits after the point

// (x, y, z), with four significant digits or as many as it takes to show differences of `fine`.
std::string pointText(const Point& point, double fine = 0.0);

// As it stands, or in quotes with its own ones doubled if it holds any of `marks`, as tables have their
// fields.
std::string quotedIfAny(const std::string& word, std::string_view marks);

// "1 hole", "3 holes".
std::string counted(std::size_t count, const std::string& one, const std::string& many);

} // namespace drape::host
