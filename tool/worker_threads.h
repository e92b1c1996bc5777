// Threads that share the work of the program.
#pragma once

#include <atomic>
#include <cstddef>
#include <functional>

namespace tool {

// Starts up to `count` threads, which call `step` again and again until it returns false, and waits for all
// of them. Meanwhile `watch` is called in this thread a few times a second, if there is one. What a step
// throws ends the work of all threads and is thrown here. Throws if no thread starts.
void runWorkers(int count, const std::function<bool()>& step, const std::function<void()>& watch);

// So many threads for work that may have work to share itself: each call takes those that are idle.
class SharedThreads {
public:
    explicit SharedThreads(std::size_t count) : idle_(static_cast<int>(count) - 1) {}

    // Calls work(0) to work(count - 1). What one throws is thrown here.
    void forEach(std::size_t count, const std::function<void(std::size_t)>& work);

private:
    std::atomic<int> idle_; // beside the one that the caller's work takes
};

} // namespace tool
