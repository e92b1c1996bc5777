// The ways in which the program gives up, each with the exit code that the manual promises.
#pragma once

#include <stdexcept>
#include <string>

namespace tool {

enum ExitCode { exitDone = 0, exitOther = 1, exitUsage = 2, exitInput = 3, exitRunEnded = 4 };

// The command line asks for something that can't be.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

} // namespace tool
