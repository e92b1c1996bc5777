// How work that falls into parts is carried out, which hosts decide.
#pragma once

#include <cstddef>
#include <functional>

namespace drape::host {

// Calls work(0) to work(count - 1), in any order and on any threads. Work may have work to share itself.
using ForEach = std::function<void(std::size_t count, const std::function<void(std::size_t)>& work)>;

// One after the other, by the caller.
inline void inTurn(std::size_t count, const std::function<void(std::size_t)>& work) {
    for (std::size_t k = 0; k < count; ++k) {
        work(k);
    }
}

} // namespace drape::host
