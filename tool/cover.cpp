// Candidates are drawn by the host; here they are spread over threads, which share the surface. An interrupt
// ends the search and not the program: the best set so far is written. A second one ends it all.
#include "tool/cover.h"

#include "host/mesh/text.h"
#include "tool/cover_report.h"
#include "tool/errors.h"
#include "tool/scenes.h"
#include "tool/worker_threads.h"
#include "tool/write/writers.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <iostream>
#include <thread>
#include <unistd.h>

namespace tool {
namespace {

using Clock = std::chrono::steady_clock;

std::atomic<bool> interrupted{false};

// While it lives, the first interrupt is noted.
class InterruptNoted {
public:
    InterruptNoted() {
        interrupted = false;
        struct sigaction noted {};
        noted.sa_handler = [](int) { interrupted = true; };
        noted.sa_flags = static_cast<int>(SA_RESETHAND | SA_RESTART);
        sigaction(SIGINT, &noted, &before_);
    }
    ~InterruptNoted() { sigaction(SIGINT, &before_, nullptr); }
    InterruptNoted(const InterruptNoted&) = delete;
    InterruptNoted& operator=(const InterruptNoted&) = delete;

private:
    struct sigaction before_ {};
};

void showProgress(const CoverProgress& progress) {
    std::fprintf(stderr, "\rdrape: %zu candidates draped; %zu %s cover %.1f %% ", progress.tried,
                 progress.pieces, progress.pieces == 1 ? "piece" : "pieces", 100.0 * progress.coveredShare);
    std::fflush(stderr);
}

PieceSet searched(const Settings& settings, const Surface& surface, const Log& log) {
    const InterruptNoted noted;
    const bool talkative = isatty(STDERR_FILENO) != 0 && log.talk() >= Talk::normal;
    const Clock::time_point begin = Clock::now();
    const std::optional<double>& seconds = settings.cover.seconds;
    const IsOver isOver = [&] {
        return interrupted ||
               (seconds && std::chrono::duration<double>(Clock::now() - begin).count() >= *seconds);
    };
    const GoOn heard = [&](const CoverProgress& progress) {
        if (talkative) {
            showProgress(progress);
        }
        log.detail(counted(progress.tried, "candidate", "candidates") + " draped; " +
                   counted(progress.pieces, "piece", "pieces") + " cover " +
                   number(100.0 * progress.coveredShare, 4) + " %");
        return !isOver();
    };
    const unsigned cores = std::max(1U, std::thread::hardware_concurrency());
    SharedThreads threads(settings.sweep.jobs > 0 ? static_cast<std::size_t>(settings.sweep.jobs) : cores);
    const ForEach forEach = [&](std::size_t count, const std::function<void(std::size_t)>& work) {
        threads.forEach(count, work);
    };
    PieceSet set = coveredBy(surface, settings.trial, settings.cover.wishes, spreadBy(forEach), forEach,
                             heard, seconds.has_value(), isOver);
    if (talkative) {
        std::fprintf(stderr, "\r\033[K");
    }
    if (interrupted) {
        log.note("interrupted; this is the best set so far");
    }
    return set;
}

void warnOfSet(const Settings& settings, const PieceSet& set, const Log& log) {
    if (set.coveredShare < settings.cover.wishes.share) {
        log.warn(
            "the pieces cover " + number(100.0 * set.coveredShare, 4) + " % of the " +
            number(100.0 * settings.cover.wishes.share, 4) +
            " % asked for; smaller cells (--step), --free-angles or more time (--seconds) may reach more");
    }
}

} // namespace

int coverAndTell(const Settings& settings, const Surface& surface,
                 const std::vector<std::int64_t>& faceNumbers, const Log& log, Clock::time_point begin) {
    {
        ToldNotes notes(log);
        tellOfSlenderCells(surface.steps, notes.list());
    }
    const PieceSet set = searched(settings, surface, log);
    const double wall = std::chrono::duration<double>(Clock::now() - begin).count();
    if (!settings.quiet) {
        std::cout << coverSummary(settings, surface, set) << std::flush;
    }
    warnOfSet(settings, set, log);
    log.detail("everything took " + number(wall, 3) + " s");
    if (set.pieces.empty()) {
        std::cerr
            << "drape: no piece was found; smaller cells or cells nearer to square (--step) may drape\n";
        return exitRunEnded;
    }
    CoverScene scene{&set,           surface.mould.get(), {}, coverJson(settings, surface, set, wall),
                     captionOf(set), settings.trial.start};
    std::vector<CutLines> cuts;
    for (const CoverPiece& piece : set.pieces) {
        cuts.push_back(cutLinesOf(piece.drape.measures.net, settings.allowance));
        for (const std::string& remark : cuts.back().remarks) {
            log.warn("piece " + std::to_string(cuts.size()) + ": " + nameOf(cuts.back()) + ": " + remark);
        }
    }
    for (std::size_t p = 0; p < set.pieces.size(); ++p) {
        scene.pieces.push_back(sceneOfPiece(settings, set, p, cuts[p], scene.reportJson));
        scene.pieces.back().faceNumbers = faceNumbers;
    }
    std::string failures;
    for (const std::string& path : settings.outputs) {
        try {
            for (const std::string& written : writeCoverOutput(path, scene)) {
                if (!settings.quiet) {
                    std::cout << "wrote     " << written << '\n';
                }
            }
        } catch (const std::exception& error) {
            failures += (failures.empty() ? "" : "\ndrape: ") + std::string(error.what());
        }
    }
    if (!failures.empty()) {
        throw std::runtime_error(failures);
    }
    return exitDone;
}

} // namespace tool
