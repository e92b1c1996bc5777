// The front loop: from four fronts at the seed to an empty table.
#pragma once

#include <cstdint>

namespace drape {

enum class LoopEnd {
    tableEmpty,
    stopped,       // an operation failed
    passArrayHeld, // the guard of a pass: the run returns at once
};

LoopEnd runFrontLoop(std::int32_t& status);

} // namespace drape
