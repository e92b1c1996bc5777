// The processes take candidates from a shared counter and leave their results in shared memory. A process
// that dies costs the candidate that it had in hand; the others go on.
#include "sweep.h"

#include "drape.h"
#include "drape_run.h"
#include "text.h"
#include "trial.h"

#include <algorithm>
#include <atomic>
#include <new>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace tool {
namespace {

// Whole drapes that cover at least this part of what the best one covers are compared by their shear.
constexpr double nearlyAsMuch = 0.9;

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

SweepResult tried(const Settings& settings, const Surface& surface, const Candidate& candidate) {
    SweepResult result;
    result.candidate = candidate;
    try {
        const Trial trial =
            drapeFrom(surface, settings, candidate.seed, candidate.angle, Log(Talk::silent), false);
        const Measures& m = trial.measures;
        result.candidate.seed = trial.choice.seed;
        result.ran = true;
        result.status = trial.grid.status;
        result.nodes = trial.grid.count;
        result.cells = static_cast<std::int64_t>(m.cellsOnSurface);
        result.meanShear = m.meanShear;
        result.largestShear = m.largestShear;
        result.shareBeyondLocking = m.shareBeyondLocking;
        result.coveredShare = m.coveredShare;
        result.doubledShare = m.doubledShare;
        result.patternArea = m.patternArea;
        result.patternWidth = m.patternExtent[2] - m.patternExtent[0];
        result.patternHeight = m.patternExtent[3] - m.patternExtent[1];
        result.within = trial.within.value_or(-1.0);
    } catch (const std::exception&) {
        result.ran = false;
    }
    return result;
}

[[noreturn]] void work(const Settings& settings, const Surface& surface,
                       const std::vector<Candidate>& candidates, SharedMemory& shared) {
    while (true) {
        const std::size_t i = shared.board().next.fetch_add(1);
        if (i >= candidates.size()) {
            _exit(0);
        }
        shared.result(i) = tried(settings, surface, candidates[i]);
        shared.board().done.fetch_add(1);
    }
}

// Starts `count` processes and waits for them, with a line of progress on a terminal.
void runProcesses(int count, const Settings& settings, const Surface& surface,
                  const std::vector<Candidate>& candidates, SharedMemory& shared, bool talkative) {
    std::fflush(nullptr);
    int running = 0;
    for (int i = 0; i < count; ++i) {
        const pid_t child = fork();
        if (child == 0) {
            work(settings, surface, candidates, shared);
        }
        running += child > 0 ? 1 : 0;
    }
    if (running == 0) {
        throw std::runtime_error("no process could be started for the sweep");
    }
    while (running > 0) {
        if (waitpid(-1, nullptr, talkative ? WNOHANG : 0) > 0) {
            --running;
        } else if (talkative) {
            std::fprintf(stderr, "\rdrape: %zu of %zu drapes done ", shared.board().done.load(),
                         candidates.size());
            std::fflush(stderr);
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
        }
    }
    if (talkative) {
        std::fprintf(stderr, "\r\033[K");
    }
}

bool isWhole(const SweepResult& r) {
    return r.ran && r.status == DRAPE_OK && r.cells > 0;
}

bool isSingleLayer(const SweepResult& r) {
    return r.doubledShare <= mostDoubled;
}

void rank(std::vector<SweepResult>& results, bool byCloth) {
    double mostCovered = 0.0;
    for (const SweepResult& r : results) {
        mostCovered = isWhole(r) && isSingleLayer(r) ? std::max(mostCovered, r.coveredShare) : mostCovered;
    }
    // Each result's keys, the smaller the better, the weightiest first.
    const auto keys = [&](const SweepResult& r) {
        const double cloth = byCloth ? -r.patternArea : (isWhole(r) ? 0.0 : -r.coveredShare);
        return std::array<double, 8>{isWhole(r) ? 0.0 : 1.0,
                                     r.ran ? 0.0 : 1.0,
                                     isSingleLayer(r) ? 0.0 : 1.0,
                                     byCloth || r.coveredShare >= nearlyAsMuch * mostCovered ? 0.0 : 1.0,
                                     cloth,
                                     r.largestShear,
                                     r.shareBeyondLocking,
                                     r.patternArea};
    };
    std::stable_sort(results.begin(), results.end(),
                     [&](const SweepResult& a, const SweepResult& b) { return keys(a) < keys(b); });
}

std::string padded(const std::string& text, std::size_t width) {
    return text.size() >= width ? text : std::string(width - text.size(), ' ') + text;
}

} // namespace

std::vector<SweepResult> sweep(const Settings& settings, const Surface& surface, const Log& log) {
    const std::vector<Candidate> candidates = candidatesOf(settings, surface);
    if (candidates.empty()) {
        return {};
    }
    const int cores = static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
    const int wanted = settings.sweep.jobs > 0 ? settings.sweep.jobs : cores;
    const int processes =
        static_cast<int>(std::min<std::size_t>(static_cast<std::size_t>(wanted), candidates.size()));
    log.note("draping " + counted(candidates.size(), "candidate", "candidates") + " in " +
             std::to_string(processes) + (processes == 1 ? " process" : " processes"));
    SharedMemory shared(candidates.size());
    for (std::size_t i = 0; i < candidates.size(); ++i) {
        shared.result(i).candidate = candidates[i];
    }
    const bool talkative = isatty(STDERR_FILENO) != 0 && log.talk() >= Talk::normal;
    while (shared.board().next.load() < candidates.size()) {
        runProcesses(processes, settings, surface, candidates, shared, talkative);
    }
    std::vector<SweepResult> results;
    for (std::size_t i = 0; i < candidates.size(); ++i) {
        results.push_back(shared.result(i));
    }
    rank(results, settings.withinLargest);
    return results;
}

std::string sweepCsv(std::vector<SweepResult> results, bool withHead) {
    std::sort(results.begin(), results.end(), [](const SweepResult& a, const SweepResult& b) {
        return a.candidate.number < b.candidate.number;
    });
    std::string text;
    if (withHead) {
        text =
            "candidate,seed_x,seed_y,seed_z,angle_deg,ran,status,nodes,cells,mean_shear_deg,"
            "largest_shear_deg,share_beyond_locking,covered_share,doubled_share,pattern_area,pattern_width,"
            "pattern_height,within\n";
    }
    for (const SweepResult& r : results) {
        text += std::to_string(r.candidate.number);
        for (const double value :
             {r.candidate.seed[0], r.candidate.seed[1], r.candidate.seed[2], r.candidate.angle}) {
            text += "," + number(value, 12);
        }
        text += "," + std::to_string(r.ran ? 1 : 0) + "," + std::to_string(r.status) + "," +
                std::to_string(r.nodes) + "," + std::to_string(r.cells);
        for (const double value : {r.meanShear, r.largestShear, r.shareBeyondLocking, r.coveredShare,
                                   r.patternArea, r.patternWidth, r.patternHeight}) {
            text += "," + number(value, 9);
        }
        text += "," + (r.within >= 0.0 ? number(r.within, 9) : std::string()) + "\n";
    }
    return text;
}

std::string sweepTable(const std::vector<SweepResult>& ranked, std::size_t most) {
    std::string text =
        "rank  candidate  angle  largest shear  mean shear  beyond locking  covered   cloth area  "
        "seed and result\n";
    for (std::size_t i = 0; i < ranked.size() && i < most; ++i) {
        const SweepResult& r = ranked[i];
        std::string result = r.ran ? (isWhole(r) ? "" : "  ended with code " + std::to_string(r.status))
                                   : "  can't be draped from here";
        if (!isSingleLayer(r)) {
            result += "  " + fixed(100.0 * r.doubledShare, 0) + " % doubled";
        }
        if (r.within >= 0.0) {
            result = "  within " + number(r.within) + result;
        }
        text += padded(std::to_string(i + 1), 4) + padded(std::to_string(r.candidate.number), 11) +
                padded(number(r.candidate.angle), 7) + padded(fixed(r.largestShear, 1), 15) +
                padded(fixed(r.meanShear, 1), 12) +
                padded(fixed(100.0 * r.shareBeyondLocking, 1) + " %", 16) +
                padded(fixed(100.0 * r.coveredShare, 1) + " %", 9) + padded(number(r.patternArea), 13) +
                "  " + pointText(r.candidate.seed) + result + "\n";
    }
    return text;
}

} // namespace tool
