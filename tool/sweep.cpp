// The processes take candidates from a shared counter and leave their results in shared memory. A process
// that dies costs the candidate that it had in hand; the others go on.
#include "sweep.h"

#include "drape.h"
#include "drape_run.h"
#include "text.h"
#include "trial.h"
#include "worker_processes.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <functional>
#include <new>
#include <stdexcept>
#include <sys/mman.h>
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

// A column of the table for programs.
struct Column {
    const char* heading;
    std::string (*entry)(const SweepResult&);
};

const std::vector<Column>& columns() {
    using R = const SweepResult&;
    constexpr int placeDigits = 12;
    constexpr int digits = 9;
    static const std::vector<Column> table{
        {"candidate", [](R r) { return std::to_string(r.candidate.number); }},
        {"seed_x", [](R r) { return number(r.candidate.seed[0], placeDigits); }},
        {"seed_y", [](R r) { return number(r.candidate.seed[1], placeDigits); }},
        {"seed_z", [](R r) { return number(r.candidate.seed[2], placeDigits); }},
        {"angle_deg", [](R r) { return number(r.candidate.angle, placeDigits); }},
        {"ran", [](R r) { return std::string(r.ran ? "1" : "0"); }},
        {"status", [](R r) { return std::to_string(r.status); }},
        {"nodes", [](R r) { return std::to_string(r.nodes); }},
        {"cells", [](R r) { return std::to_string(r.cells); }},
        {"mean_shear_deg", [](R r) { return number(r.meanShear, digits); }},
        {"largest_shear_deg", [](R r) { return number(r.largestShear, digits); }},
        {"share_beyond_locking", [](R r) { return number(r.shareBeyondLocking, digits); }},
        {"covered_share", [](R r) { return number(r.coveredShare, digits); }},
        {"doubled_share", [](R r) { return number(r.doubledShare, digits); }},
        {"pattern_area", [](R r) { return number(r.patternArea, digits); }},
        {"pattern_width", [](R r) { return number(r.patternWidth, digits); }},
        {"pattern_height", [](R r) { return number(r.patternHeight, digits); }},
        {"within", [](R r) { return r.within >= 0.0 ? number(r.within, digits) : std::string(); }}};
    return table;
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
    Board& board = shared.board();
    const auto next = [&] {
        const std::size_t i = board.next.fetch_add(1);
        if (i >= candidates.size()) {
            return false;
        }
        shared.result(i) = tried(settings, surface, candidates[i]);
        board.done.fetch_add(1);
        return true;
    };
    const bool talkative = isatty(STDERR_FILENO) != 0 && log.talk() >= Talk::normal;
    const auto showProgress = [&] {
        std::fprintf(stderr, "\rdrape: %zu of %zu drapes done ", board.done.load(), candidates.size());
        std::fflush(stderr);
    };
    while (board.next.load() < candidates.size()) {
        const std::size_t taken = board.next.load();
        runWorkers(processes, next, talkative ? std::function<void()>(showProgress) : nullptr);
        if (board.next.load() == taken) {
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
    rank(results, settings.withinLargest);
    return results;
}

std::string sweepCsv(std::vector<SweepResult> results, bool withHead) {
    std::sort(results.begin(), results.end(), [](const SweepResult& a, const SweepResult& b) {
        return a.candidate.number < b.candidate.number;
    });
    std::string text;
    if (withHead) {
        for (const Column& column : columns()) {
            text += (text.empty() ? "" : ",") + std::string(column.heading);
        }
        text += "\n";
    }
    for (const SweepResult& r : results) {
        std::string line;
        for (const Column& column : columns()) {
            line += (&column == columns().data() ? "" : ",") + column.entry(r);
        }
        text += line + "\n";
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
