// The command line and what it means.
#pragma once

#include "tool/settings.h"

namespace tool {

// Fills `settings` and returns true, or returns false if the program has said all that was asked (help,
// version). Throws UsageError.
bool readCommandLine(int argc, char** argv, Settings& settings);

} // namespace tool
