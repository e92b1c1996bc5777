// Numbers, points and counts as a reader likes them.
#pragma once

#include "drape_data.h"

#include <string>
#include <vector>

namespace tool {

std::string number(double value, int digits = 4); // significant digits, no trailing zeros
std::string fixed(double value, int decimals);    // digits after the point
std::string pointText(const Point& point);        // (x, y, z)
std::string counted(std::size_t count, const std::string& one, const std::string& many);

// Strict readers: the whole text has to be finite numbers of a sane size. They return false otherwise.
bool readNumber(const std::string& text, double& value);
bool readNumbers(const std::string& text, std::vector<double>& values); // separated by commas

} // namespace tool
