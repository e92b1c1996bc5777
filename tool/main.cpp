// The program `drape`: a mould and a choice of start in, a drape, its pattern and its measures out.
#include "curve.h"
#include "drape.h"
#include "drape_run.h"
#include "errors.h"
#include "options.h"
#include "report.h"
#include "status_text.h"
#include "surface.h"
#include "sweep.h"
#include "text.h"
#include "trial.h"
#include "writers.h"

#include <chrono>
#include <iostream>
#include <unistd.h>

namespace {

using namespace tool;

constexpr std::size_t sweepRowsShown = 10;
constexpr double wellCovered = 0.85;
constexpr const char* sweepEnding = ".sweep.csv";

struct Work {
    Settings settings;
    Log log{Talk::normal};
    std::chrono::steady_clock::time_point begin = std::chrono::steady_clock::now();
};

std::vector<SweepResult> sweepAndTell(Work& work, const Surface& surface) {
    std::vector<SweepResult> ranked = sweep(work.settings, surface, work.log);
    if (!work.settings.quiet) {
        std::cout << sweepTable(ranked, work.settings.verbose ? ranked.size() : sweepRowsShown) << '\n';
    }
    const std::string csv = sweepCsv(ranked, work.settings.sweep.part == 1);
    for (const std::string& path : work.settings.outputs) {
        if (path.ends_with(sweepEnding)) {
            writeWhole(path, csv);
        }
    }
    return ranked;
}

// Drapes that came to their end and still aren't what one wants.
void warnOfPoorCloth(const Work& work, const Trial& trial) {
    const Measures& m = trial.measures;
    if (m.doubledShare > mostDoubled) {
        work.log.warn(
            "cloth of " + number(100.0 * m.doubledShare, 2) +
            " % of the mould's area lies over other cloth; a smaller patch (--within max) or another "
            "start (--sweep) may lie in one layer");
    }
    if (trial.grid.status == DRAPE_OK && m.coveredShare < wellCovered) {
        work.log.warn("the cloth covers only " + number(100.0 * m.coveredShare, 2) +
                      " % of the mould; another seed may reach the rest (--seed, --sweep)" +
                      (trial.mould.loops.size() > 1 ? ", and --fill-holes lets it run on over holes" : ""));
    }
}

void writeOutputs(const Work& work, const Trial& trial, const CurveResult* curve, const std::string& report) {
    const Scene scene{&trial.mould,
                      &trial.choice,
                      &trial.grid,
                      &trial.measures,
                      curve,
                      report,
                      work.settings.millimetresPerUnit};
    std::string failures;
    for (const std::string& path : work.settings.outputs) {
        try {
            if (!path.ends_with(sweepEnding)) {
                writeOutput(path, scene);
            }
            if (!work.settings.quiet) {
                std::cout << "wrote     " << path << '\n';
            }
        } catch (const std::exception& error) {
            failures += (failures.empty() ? "" : "\ndrape: ") + std::string(error.what());
        }
    }
    if (!failures.empty()) {
        throw std::runtime_error(failures);
    }
}

Trial chosenTrial(Work& work, const Surface& surface, std::vector<SweepResult>& ranked) {
    const bool talkative = isatty(STDERR_FILENO) != 0 && !work.settings.quiet;
    if (!work.settings.sweep.wanted) {
        return drapeFrom(surface, work.settings, surface.defaultSeed, work.settings.angle, work.log,
                         talkative);
    }
    ranked = sweepAndTell(work, surface);
    const Candidate& best = ranked.front().candidate;
    return drapeFrom(surface, work.settings, best.seed, best.angle, work.log, talkative);
}

int run(Work& work) {
    const Surface surface = loadSurface(work.settings, work.log);
    if (work.settings.sweep.wanted && candidatesOf(work.settings, surface).empty()) {
        work.log.note("this part of the sweep holds no candidate");
        sweepAndTell(work, surface);
        return exitDone;
    }
    std::optional<DrawnCurve> drawn;
    if (!work.settings.curve.empty()) {
        drawn = readCurve(work.settings.curve);
    }
    std::vector<SweepResult> ranked;
    const Trial trial = chosenTrial(work, surface, ranked);
    std::optional<CurveResult> curve;
    if (drawn && trial.measures.cellsOnSurface > 0) {
        curve = carryOver(*drawn, surface.mesh, trial.choice, trial.grid, work.log);
    }
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - work.begin).count();
    const Story story{work.settings, trial, curve ? &*curve : nullptr,
                      work.settings.sweep.wanted ? &ranked : nullptr, seconds};
    if (!work.settings.quiet) {
        std::cout << summaryOf(story) << std::flush;
    }
    work.log.detail("the run took " + number(trial.seconds, 3) + " s, everything " + number(seconds, 3) +
                    " s");
    warnOfPoorCloth(work, trial);
    writeOutputs(work, trial, story.curve, jsonOf(story));
    if (trial.grid.status == DRAPE_OK) {
        return exitDone;
    }
    std::cout.flush();
    const std::string advice = work.settings.sweep.wanted
                                   ? "no candidate of the sweep came to its end; try more seeds and angles, "
                                     "--pivot shear, another --step, or --within max"
                                   : textOfStatus(trial.grid.status).advice;
    std::cerr << "drape: " << (work.settings.quiet ? endOf(trial) + "\ndrape: " : std::string()) << advice
              << '\n';
    return exitRunEnded;
}

} // namespace

int main(int argc, char** argv) {
    Work work;
    try {
        if (!readCommandLine(argc, argv, work.settings)) {
            return exitDone;
        }
        work.log = Log(work.settings.quiet     ? Talk::quiet
                       : work.settings.verbose ? Talk::verbose
                                               : Talk::normal);
        return run(work);
    } catch (const UsageError& error) {
        std::cerr << "drape: " << error.what() << '\n';
        return exitUsage;
    } catch (const InputError& error) {
        std::cerr << "drape: " << error.what() << '\n';
        return exitInput;
    } catch (const std::bad_alloc&) {
        std::cerr << "drape: there isn't enough memory; a larger --step or a lower --max-nodes needs less\n";
        return exitOther;
    } catch (const std::exception& error) {
        std::cerr << "drape: " << error.what() << '\n';
        return exitOther;
    }
}
