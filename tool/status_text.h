// The library's status codes in words: what happened, and what to try next.
#pragma once

#include <cstdint>
#include <string>

namespace tool {

struct StatusText {
    std::string name;    // short and fixed, for machines
    std::string meaning; // one sentence without a full stop
    std::string advice;  // empty if there is nothing to do
};

StatusText textOfStatus(std::int32_t status);

} // namespace tool
