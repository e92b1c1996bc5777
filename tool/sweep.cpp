// The threads take candidates from a shared counter, so that none waits for another. They run in the library
// at once, over one mould: runs keep nothing between them. The mould has been read in a process of its own
// and prepared before, so no candidate brings in anything that the program hasn't looked at.
#include "tool/sweep.h"

#include "host/mesh/text.h"
#include "tool/worker_threads.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <functional>
#include <thread>
#include <unistd.h>

namespace tool {
namespace {

using Work = std::function<SweepResult(std::size_t)>;

// `work` of each candidate by `threads`, with a line of progress on a terminal if `talkative`.
std::vector<SweepResult> overThreads(std::size_t candidates, const Work& work, int threads, bool talkative) {
    std::vector<SweepResult> results(candidates);
    std::atomic<std::size_t> next{0};
    std::atomic<std::size_t> done{0};
    const auto drapeNext = [&] {
        const std::size_t i = next.fetch_add(1);
        if (i >= candidates) {
            return false;
        }
        results[i] = work(i);
        done.fetch_add(1);
        return true;
    };
    const auto showProgress = [&] {
        std::fprintf(stderr, "\rdrape: %zu of %zu drapes done ", done.load(), candidates);
        std::fflush(stderr);
    };
    runWorkers(threads, drapeNext, talkative ? std::function<void()>(showProgress) : nullptr);
    if (talkative) {
        std::fprintf(stderr, "\r\033[K");
    }
    return results;
}

} // namespace

std::vector<SweepResult> sweepOverThreads(const Settings& settings, const Surface& surface,
                                          const std::vector<Candidate>& candidates, const Log& log) {
    if (candidates.empty()) {
        return {};
    }
    const int cores = static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
    const int wanted = settings.sweep.jobs > 0 ? settings.sweep.jobs : cores;
    const int threads =
        static_cast<int>(std::min<std::size_t>(static_cast<std::size_t>(wanted), candidates.size()));
    log.note("draping " + counted(candidates.size(), "candidate", "candidates") + " in " +
             std::to_string(threads) + (threads == 1 ? " thread" : " threads"));
    const bool talkative = isatty(STDERR_FILENO) != 0 && log.talk() >= Talk::normal;
    return sweep(surface, settings.trial, candidates, [&](std::size_t count, const Work& work) {
        return overThreads(count, work, threads, talkative);
    });
}

} // namespace tool
