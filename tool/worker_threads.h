// Threads that share the work of the program.
#pragma once

#include <functional>

namespace tool {

// Starts up to `count` threads, which call `step` again and again until it returns false, and waits for all
// of them. Meanwhile `watch` is called in this thread a few times a second, if there is one. What a step
// throws ends the work of all threads and is thrown here. Throws if no thread starts.
void runWorkers(int count, const std::function<bool()>& step, const std::function<void()>& watch);

} // namespace tool
