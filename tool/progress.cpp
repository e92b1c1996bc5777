// The line is written over in place and wiped at the end, so nothing of it stays on the terminal.
#include "tool/progress.h"

#include <atomic>
#include <chrono>
#include <cstdio>

namespace tool {

ProgressLine::~ProgressLine() {
    ended();
}

void ProgressLine::begun(std::int32_t& nodes, double expectedNodes) {
    done_ = false;
    thread_ = std::thread([this, &nodes, expectedNodes] { watch(nodes, expectedNodes); });
}

void ProgressLine::ended() {
    if (!thread_.joinable()) {
        return;
    }
    {
        const std::lock_guard<std::mutex> hold(mutex_);
        done_ = true;
    }
    wake_.notify_one();
    thread_.join();
}

void ProgressLine::watch(std::int32_t& nodes, double expected) {
    const auto start = std::chrono::steady_clock::now();
    std::unique_lock<std::mutex> hold(mutex_);
    bool shown = false;
    auto pause = std::chrono::milliseconds(1000);
    while (!wake_.wait_for(hold, pause, [this] { return done_; })) {
        const int seconds = static_cast<int>(
            std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - start)
                .count());
        const std::int32_t count = std::atomic_ref<std::int32_t>(nodes).load(std::memory_order_relaxed);
        std::fprintf(stderr, "\rdrape: %d nodes of about %.0f, %d s ", count, expected, seconds);
        std::fflush(stderr);
        shown = true;
        pause = std::chrono::milliseconds(250);
    }
    if (shown) {
        std::fprintf(stderr, "\r\033[K");
    }
}

} // namespace tool
