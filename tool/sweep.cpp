// The processes take candidates from a shared counter and leave their results in shared memory. A process
// that dies costs the candidate that it had in hand; the others go on.
#include "tool/sweep.h"

#include "host/mesh/text.h"
#include "tool/worker_processes.h"

#include <algorithm>
#include <atomic>
#include <functional>
#include <memory>
#include <new>
#include <stdexcept>
#include <sys/mman.h>
#include <thread>
#include <type_traits>
#include <unistd.h>

namespace tool {
namespace {

static_assert(std::is_trivially_copyable_v<SweepResult>, "results cross from process to process as bytes");

constexpr int mostInVain = 5;

using Work = std::function<SweepResult(std::size_t)>;

struct Board {
    std::atomic<std::size_t> next{0};
    std::atomic<std::size_t> done{0};
};

// Memory that child processes share with their parent.
class SharedMemory {
public:
    explicit SharedMemory(std::size_t results) : size_(sizeof(Board) + results * sizeof(SweepResult)) {
        memory_ = mmap(nullptr, size_, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (memory_ == MAP_FAILED) {
            throw std::runtime_error("there isn't enough memory for the sweep");
        }
        board_ = new (memory_) Board;
        results_ = reinterpret_cast<SweepResult*>(static_cast<char*>(memory_) + sizeof(Board));
        std::uninitialized_default_construct_n(results_, results);
    }
    ~SharedMemory() { munmap(memory_, size_); }
    SharedMemory(const SharedMemory&) = delete;
    SharedMemory& operator=(const SharedMemory&) = delete;

    Board& board() { return *board_; }
    SweepResult& result(std::size_t i) { return results_[i]; }

private:
    std::size_t size_;
    void* memory_ = nullptr;
    Board* board_ = nullptr;
    SweepResult* results_ = nullptr;
};

// `work` of each candidate by `processes`, with a line of progress on a terminal if `talkative`.
std::vector<SweepResult> overProcesses(const std::vector<Candidate>& candidates, const Work& work,
                                       int processes, bool talkative) {
    SharedMemory shared(candidates.size());
    for (std::size_t i = 0; i < candidates.size(); ++i) {
        shared.result(i).candidate = candidates[i];
    }
    Board& board = shared.board();
    const auto next = [&] {
        const std::size_t i = board.next.fetch_add(1);
        if (i >= candidates.size()) {
            return false;
        }
        shared.result(i) = work(i);
        board.done.fetch_add(1);
        return true;
    };
    const auto showProgress = [&] {
        std::fprintf(stderr, "\rdrape: %zu of %zu drapes done ", board.done.load(), candidates.size());
        std::fflush(stderr);
    };
    int inVain = 0; // times in a row that all processes died before they took a candidate
    while (board.next.load() < candidates.size()) {
        const std::size_t taken = board.next.load();
        runWorkers(processes, next, talkative ? std::function<void()>(showProgress) : nullptr);
        inVain = board.next.load() == taken ? inVain + 1 : 0;
        if (inVain == mostInVain) {
            throw std::runtime_error("the processes of the sweep end before they can drape anything");
        }
    }
    if (talkative) {
        std::fprintf(stderr, "\r\033[K");
    }
    std::vector<SweepResult> results;
    for (std::size_t i = 0; i < candidates.size(); ++i) {
        results.push_back(shared.result(i));
    }
    return results;
}

} // namespace

std::vector<SweepResult> sweepOverProcesses(const Settings& settings, const Surface& surface,
                                            const std::vector<Candidate>& candidates, const Log& log) {
    if (candidates.empty()) {
        return {};
    }
    const int cores = static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
    const int wanted = settings.sweep.jobs > 0 ? settings.sweep.jobs : cores;
    const int processes =
        static_cast<int>(std::min<std::size_t>(static_cast<std::size_t>(wanted), candidates.size()));
    log.note("draping " + counted(candidates.size(), "candidate", "candidates") + " in " +
             std::to_string(processes) + (processes == 1 ? " process" : " processes"));
    const bool talkative = isatty(STDERR_FILENO) != 0 && log.talk() >= Talk::normal;
    return sweep(surface, settings.trial, candidates, [&](std::size_t, const Work& work) {
        return overProcesses(candidates, work, processes, talkative);
    });
}

} // namespace tool
