// The ways in which the program gives up, each with the exit code that the manual promises.
#pragma once

#include <algorithm>
#include <stdexcept>
#include <string>

namespace tool {

enum ExitCode { exitDone = 0, exitOther = 1, exitUsage = 2, exitInput = 3, exitRunEnded = 4 };

// The command line asks for something that can't be.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// A message may quote a broken file: bytes that would steer the terminal are shown as question marks.
inline std::string forTerminal(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](char c) { return (c >= 0 && c < ' ' && c != '\n') || c == '\x7f'; },
        '?');
    return text;
}

} // namespace tool
