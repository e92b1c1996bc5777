// A line on the terminal that tells how far a long run has come.
#pragma once

#include "host/cloth/run.h"

#include <condition_variable>
#include <mutex>
#include <thread>

namespace tool {

using namespace drape::host;

// Counts from a thread of its own, since the run is a single call; shows after a second.
class ProgressLine : public RunWatch {
public:
    ProgressLine() = default;
    ~ProgressLine() override;
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    void begun(std::int32_t& nodes, double expectedNodes) override;
    void ended() override;

private:
    void watch(std::int32_t& nodes, double expected);

    std::mutex mutex_;
    std::condition_variable wake_;
    bool done_ = false;
    std::thread thread_;
};

} // namespace tool
