// The program `drape`: a mould and a choice of start in, a drape, its pattern and its measures out.
#include "drape.h"
#include "host/cloth/area_by_shear.h"
#include "host/cloth/curve.h"
#include "host/cloth/surface.h"
#include "host/mesh/text.h"
#include "host/search/default_start.h"
#include "host/search/trial.h"
#include "tool/advice.h"
#include "tool/cover.h"
#include "tool/errors.h"
#include "tool/good_part.h"
#include "tool/layup_run.h"
#include "tool/log.h"
#include "tool/options.h"
#include "tool/page.h"
#include "tool/progress.h"
#include "tool/read/curve_file.h"
#include "tool/read/mesh_import.h"
#include "tool/report.h"
#include "tool/scenes.h"
#include "tool/sweep.h"
#include "tool/worker_threads.h"
#include "tool/write/sweep_table.h"
#include "tool/write/writers.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <iostream>
#include <thread>
#include <unistd.h>

namespace {

using namespace tool;

constexpr std::size_t sweepRowsShown = 10;
constexpr double wellCovered = 0.95;
constexpr const char* sweepEnding = ".sweep.csv";

struct Work {
    Settings settings;
    std::optional<ShellMesh> shell; // where the file numbers its elements
    Log log{Talk::normal};
    std::chrono::steady_clock::time_point begin = std::chrono::steady_clock::now();
    PagePart part; // as it was read; kept for a page alone
};

// The seed that the settings name, if they name one: a vertex goes by its number in a file that numbers its
// vertices, else by its place among them.
std::optional<Point> namedSeed(const Settings& settings, const ImportedMesh& file) {
    if (!settings.seedVertex) {
        return settings.surface.seed;
    }
    const std::int64_t vertex = *settings.seedVertex;
    if (file.shell) {
        const auto& numbers = file.shell->pointNumbers;
        const auto found = std::find(numbers.begin(), numbers.end(), vertex);
        if (found == numbers.end()) {
            throw UsageError("--seed-vertex " + std::to_string(vertex) +
                             ": no element of the surface has a node of this number");
        }
        return file.shell->points[static_cast<std::size_t>(found - numbers.begin())];
    }
    const auto& points = file.soup.points;
    if (vertex < 1 || vertex > static_cast<std::int64_t>(points.size())) {
        throw UsageError("--seed-vertex " + std::to_string(vertex) + ": the file has vertices 1 to " +
                         std::to_string(points.size()));
    }
    return points[static_cast<std::size_t>(vertex - 1)];
}

// Whether the start is to be found by trying places around the middle.
bool looksForStart(const Settings& settings) {
    return !settings.sweep.wanted && !settings.cover.wanted && !settings.startAtMiddle &&
           !settings.surface.seed && !settings.trial.within && !settings.trial.withinLargest;
}

bool writesPage(const Settings& settings) {
    return std::any_of(settings.outputs.begin(), settings.outputs.end(), isPage);
}

ImportedMesh loadFile(Work& work) {
    ImportedMesh file = importSurface(work.settings.input, work.settings.import);
    const PolygonSoup& soup = file.soup;
    work.log.detail("read " + counted(soup.points.size(), "vertex", "vertices") + " and " +
                    counted(soup.polygons.size(), "face", "faces") + " from " + work.settings.input);
    work.settings.surface.seed = namedSeed(work.settings, file);
    work.settings.surface.startsInMiddle = !looksForStart(work.settings) && !work.settings.cover.wanted;
    work.shell = file.shell;
    return file;
}

// Lets go of the file's faces in the end.
Surface preparedFrom(Work& work, PolygonSoup&& file) {
    const PolygonSoup soup = std::move(file);
    ToldNotes notes(work.log);
    Surface surface = preparedSurface(soup, work.settings.surface, work.settings.trial.start, notes.list());
    if (writesPage(work.settings)) {
        work.part = pagePartOf(soup);
    }
    return surface;
}

std::vector<SweepResult> sweepAndTell(Work& work, const Surface& surface,
                                      const std::vector<Candidate>& candidates) {
    std::vector<SweepResult> ranked = sweepOverThreads(work.settings, surface, candidates, work.log);
    if (!work.settings.quiet) {
        const std::size_t rows = work.settings.verbose ? ranked.size() : sweepRowsShown;
        std::cout << sweepTable(ranked, rows, finestOf(surface.steps)) << '\n';
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
    if (m.largestTurn > sharpTurn) {
        work.log.warn("a yarn turns by " + number(m.largestTurn, 2) +
                      " degrees between neighbouring cells at " +
                      pointText(m.largestTurnAt, finestOf({trial.choice.stepA, trial.choice.stepB})) +
                      "; smaller cells (--step) or another start show whether it kinks");
    }
    if (liesOverItself(m.net)) {
        work.log.warn("the flat pattern lies over itself in an area of " + number(m.net.overlapArea) +
                      "; it can't be cut in one piece");
    }
    if (trial.grid.status == DRAPE_OK && m.cellsOnSurface == 0) {
        work.log.warn("no cell of " + number(trial.choice.stepA) + " by " + number(trial.choice.stepB) +
                      " lies on the mould with all its corners, so the pattern says little; take a smaller "
                      "--step");
    } else if (trial.grid.status == DRAPE_OK && m.coveredShare < wellCovered) {
        work.log.warn("the cloth covers only " + number(100.0 * m.coveredShare, 2) +
                      " % of the mould; another seed may reach the rest (--seed, --sweep)" +
                      (trial.mould->loops.size() > 1 ? ", and --fill-holes lets it run on over holes" : ""));
    }
}

void warnOfChords(const Work& work, const Story& story) {
    const AreaByShear byShear = story.areaByShear.value_or(AreaByShear{});
    const double error = chordError(story.trial.measures, byShear).value_or(0.0);
    if (std::abs(error) <= mostChordError) {
        return;
    }
    const bool isShort = error < 0.0;
    const Choice& choice = story.trial.choice;
    const std::string half = "half the step (--step " + number(0.5 * choice.stepA) + ")";
    work.log.warn(
        "the net area is " + number(100.0 * std::abs(error), 2) + (isShort ? " % less" : " % more") +
        " than the mould's area over the cosine of the shear, most of all around " +
        pointText(isShort ? byShear.shortAt : byShear.longAt, finestOf({choice.stepA, choice.stepB})) +
        (isShort
             ? ": the cells' straight sides cut across its bends; " + half +
                   " leaves a half to a quarter of that"
             : ": cells there reach over places that are smaller than they are; another start (--sweep) or " +
                   half + " may do without"));
}

// What the allowance makes of the shape, and a size that tells of another unit, is said beside being drawn.
void warnOfPattern(const Work& work, const Trial& trial, const CutLines& cut) {
    for (const std::string& remark : cut.remarks) {
        work.log.warn(nameOf(cut) + ": " + remark);
    }
    constexpr double least = 5.0; // millimetres
    constexpr double most = 2.0e4;
    const auto& e = trial.measures.net.extent;
    const double size = work.settings.millimetresPerUnit * std::max(e[2] - e[0], e[3] - e[1]);
    if (!work.settings.unitGiven && size > 0.0 && (size < least || size > most)) {
        work.log.note(
            "the pattern is " + number(size) +
            " mm long if the file is in millimetres; --units-mm 1000 is for one in metres, 25.4 for inches");
    }
}

std::vector<std::int64_t> faceNumbers(const Work& work) {
    std::vector<std::int64_t> numbers;
    for (std::size_t e = 0; work.shell && e < work.shell->elements.size(); ++e) {
        numbers.push_back(work.shell->elements[e].number);
    }
    return numbers;
}

void writeOutputs(const Work& work, const Story& story, std::span<const DrawnCurve> drawn) {
    const std::string report = jsonOf(story);
    Scene scene = sceneOf(work.settings, story.trial, story.cut, story.curves, report, work.settings.ply);
    scene.faceNumbers = faceNumbers(work);
    scene.darts = dartsOf(story);
    std::string failures;
    for (const std::string& path : work.settings.outputs) {
        try {
            if (isPage(path)) {
                writeWhole(path, pageOf(pageTemplate().value_or(""), story, work.part, drawn, report));
            } else if (!path.ends_with(sweepEnding)) {
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

std::string wordsFor(const PatchTried& patch) {
    switch (patch.outcome) {
    case PatchOutcome::drapes:
        return "drapes";
    case PatchOutcome::ends:
        return "ends with code " + std::to_string(patch.status);
    case PatchOutcome::tooSmall:
        return "too small for a cell";
    case PatchOutcome::locks:
        return "shears beyond locking";
    case PatchOutcome::liesOverItself:
        break;
    }
    return "lies over itself";
}

Trial drapeAndTell(Work& work, const Surface& surface, const Point& seed, double angle) {
    ToldNotes notes(work.log);
    ProgressLine progress;
    TrialWatch watch;
    watch.run = isatty(STDERR_FILENO) != 0 && !work.settings.quiet ? &progress : nullptr;
    watch.patchTried = [&](const PatchTried& patch) {
        notes.tell();
        work.log.detail("within " + number(patch.radius) + ": " + wordsFor(patch));
    };
    return drapeFrom(surface, work.settings.trial, seed, angle, notes.list(), watch);
}

std::vector<CurveResult> carryAndTell(const Work& work, const Trial& trial,
                                      const std::vector<DrawnCurve>& drawn) {
    ToldNotes notes(work.log);
    std::vector<CurveResult> curves;
    for (const DrawnCurve& curve : drawn) {
        if (trial.measures.cellsOnSurface > 0) {
            curves.push_back(carryOver(curve, *trial.mould, trial.choice, trial.grid, trial.measures,
                                       work.settings.cutCurves, notes.list()));
        }
    }
    return curves;
}

ForEach overThreads(int wanted) {
    const auto threads = std::make_shared<SharedThreads>(
        wanted > 0 ? static_cast<std::size_t>(wanted) : std::max(1U, std::thread::hardware_concurrency()));
    return [threads](std::size_t count, const std::function<void(std::size_t)>& work) {
        threads->forEach(count, work);
    };
}

// Whether the command line is to blame rather than the file.
bool isOfUse(Refusal refusal) {
    return refusal == Refusal::tooFine || refusal == Refusal::noSuchSide || refusal == Refusal::upright ||
           refusal == Refusal::tooCoarse;
}

std::vector<DrawnCurve> drawnCurves(const Settings& settings) {
    std::vector<DrawnCurve> drawn;
    for (const std::string& path : settings.curves) {
        drawn.push_back(readCurve(path));
    }
    return drawn;
}

// The good part, which takes the place of `trial` where it's kept.
std::optional<GoodPart> goodPartKept(const Work& work, const Surface& surface, Trial& trial) {
    std::optional<GoodPart> good =
        goodPartOf(work.settings, surface, trial, overThreads(work.settings.sweep.jobs));
    if (good && work.settings.keepGood) {
        trial = good->drape;
    } else if (work.settings.keepGood && !trial.within && trial.grid.count > 0) {
        work.log.warn("nothing around the seed is good cloth in one layer; the whole drape is kept");
    }
    return good;
}

// What went wrong with a run that ended with a code, and what to try.
void tellEnd(const Settings& settings, const Trial& trial) {
    std::cout.flush();
    const std::string advice = settings.sweep.wanted
                                   ? "no candidate of the sweep came to its end; try more seeds and angles, "
                                     "--pivot shear, another --step, or --within max"
                                   : adviceOnStatus(trial.grid.status);
    std::cerr << "drape: " << (settings.quiet ? endOf(trial) + "\ndrape: " : std::string()) << advice << '\n';
}

// The drape from one start: the best of `candidates` if there's a sweep.
int drapeOne(Work& work, const Surface& surface, const std::vector<Candidate>& candidates) {
    const std::vector<DrawnCurve> drawn = drawnCurves(work.settings);
    std::vector<SweepResult> ranked;
    Candidate start{1, surface.defaultSeed, work.settings.angle};
    if (work.settings.sweep.wanted) {
        ranked = sweepAndTell(work, surface, candidates);
        start = ranked.front().candidate;
    }
    std::optional<Point> passedOver;
    if (looksForStart(work.settings)) {
        start.seed = bestStart(surface, work.settings.trial, start.angle);
        if (vec::distance(start.seed, surface.defaultSeed) > finestOf(surface.steps)) {
            passedOver = surface.defaultSeed;
        }
    }
    Trial trial = drapeAndTell(work, surface, start.seed, start.angle);
    const std::optional<GoodPart> good = goodPartKept(work, surface, trial);
    const std::vector<CurveResult> curves = carryAndTell(work, trial, drawn);
    const CutLines cut = cutLinesOf(trial.measures.net, work.settings.allowance);
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - work.begin).count();
    const Story story{work.settings,
                      trial,
                      cut,
                      curves,
                      work.settings.sweep.wanted ? &ranked : nullptr,
                      seconds,
                      good ? &*good : nullptr,
                      passedOver,
                      areaByShear(*trial.mould, trial.grid, trial.measures)};
    if (!work.settings.quiet) {
        std::cout << summaryOf(story) << std::flush;
    }
    work.log.detail("the run took " + number(trial.seconds, 3) + " s, everything " + number(seconds, 3) +
                    " s");
    warnOfPoorCloth(work, trial);
    warnOfChords(work, story);
    warnOfPattern(work, trial, cut);
    writeOutputs(work, story, drawn);
    if (trial.grid.status == DRAPE_OK) {
        return exitDone;
    }
    tellEnd(work.settings, trial);
    return exitRunEnded;
}

int run(Work& work) {
    ImportedMesh file = loadFile(work);
    if (!work.settings.layup.file.empty()) {
        return runLayup(work.settings, file, work.log);
    }
    const Surface surface = preparedFrom(work, std::move(file.soup));
    if (work.settings.cover.wanted) {
        return coverAndTell(work.settings, surface, faceNumbers(work), work.log, work.begin);
    }
    std::vector<Candidate> candidates;
    if (work.settings.sweep.wanted) {
        candidates = candidatesFor(work.settings, surface);
        if (candidates.empty()) {
            work.log.note("this part of the sweep holds no candidate");
            sweepAndTell(work, surface, candidates);
            return exitDone;
        }
    }
    return drapeOne(work, surface, candidates);
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
        std::cerr << "drape: " << forTerminal(error.what()) << '\n';
        return exitUsage;
    } catch (const InputError& error) {
        std::cerr << "drape: " << forTerminal(wordsFor(error)) << '\n';
        return isOfUse(error.refusal) ? exitUsage : exitInput;
    } catch (const StatusError& error) {
        std::cerr << "drape: " << error.what() << "; " << adviceOnStatus(error.status) << '\n';
        return exitOther;
    } catch (const std::bad_alloc&) {
        std::cerr << "drape: there isn't enough memory; a larger --step or a lower --max-nodes needs less\n";
        return exitOther;
    } catch (const std::exception& error) {
        std::cerr << "drape: " << forTerminal(error.what()) << '\n';
        return exitOther;
    }
}
