// Child processes that share the work of this one. None outlives it, however it ends.
#pragma once

#include <functional>

namespace tool {

// Starts up to `count` processes, which call `step` again and again until it returns false, and waits for all
// of them, whatever the caller of this program did to its signals; what a process leaves behind for the
// others has to lie in shared memory. Meanwhile `watch` is called a few times a second, if there is one.
// Throws if no process starts.
void runWorkers(int count, const std::function<bool()>& step, const std::function<void()>& watch);

} // namespace tool
