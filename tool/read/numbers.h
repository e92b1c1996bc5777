// Numbers out of texts that people typed: the whole text has to be finite numbers of a sane size.
#pragma once

#include <string>
#include <vector>

namespace tool {

// Both return false where the text isn't what they want.
bool readNumber(const std::string& text, double& value);
bool readNumbers(const std::string& text, std::vector<double>& values); // separated by commas

} // namespace tool
