// Threads share nothing but the plies' places in the laminate; each takes the next ply that no other has
// taken.
#include "tool/layup_run.h"

#include "drape.h"
#include "host/mesh/text.h"
#include "tool/draw/ply_book.h"
#include "tool/errors.h"
#include "tool/laminate_report.h"
#include "tool/read/curve_file.h"
#include "tool/read/layup_file.h"
#include "tool/worker_threads.h"
#include "tool/write/core_table.h"
#include "tool/write/file_kinds.h"
#include "tool/write/laminate_files.h"
#include "tool/write/writers.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <iostream>
#include <thread>

namespace tool {
namespace {

// All that a file of a laminate may hold.
struct Output {
    const LaminateStory& story;
    const LaminateFile& file;
    const PlyBook& book;
};

std::vector<Scene> scenesOf(const Output& output) {
    std::vector<Scene> scenes;
    for (const auto& sheet : output.story.sheets) {
        if (sheet->isDraped()) {
            scenes.push_back(sheet->scene);
        }
    }
    if (scenes.empty()) {
        throw std::runtime_error("no ply was draped");
    }
    return scenes;
}

struct Kind {
    std::string_view ending;
    std::string_view what;
    std::function<std::string(const Output&)> bytes;
    bool forSolver = false;
    bool ofCores = false;
};

// Longer endings stand before the shorter ones that they contain.
const std::vector<Kind>& kinds() {
    const auto core = [](Drawing drawing) {
        return [drawing](const Output& output) { return coreDrawing(output.book, drawing); };
    };
    static const std::vector<Kind> table{
        {".core.csv", "core samples, table",
         [](const Output& o) { return coreCsv(o.story.laminate, o.story.cores); }, false, true},
        {".core.svg", "core samples, drawing", core(Drawing::svg), false, true},
        {".core.png", "core samples, image", core(Drawing::png), false, true},
        {".core.pdf", "core samples, drawing", core(Drawing::pdf), false, true},
        {".abaqus.inp", "deck for Abaqus with the file's own elements",
         [](const Output& o) { return laminateInp(o.file, InpDialect::abaqus); }, true},
        {".inp", "deck for CalculiX: composite shells of second order",
         [](const Output& o) { return laminateInp(o.file, InpDialect::calculix); }, true},
        {".drape.fem", "deck for OptiStruct: plies, stacks and DRAPE tables",
         [](const Output& o) { return laminateDrapeFem(o.file); }, true},
        {".drape.rad", "DRAPE tables for Radioss, one per ply",
         [](const Output& o) { return laminateDrapeRad(o.file); }, true},
        {".bdf", "deck for Nastran: PCOMP and THETA (also .nas, .fem)",
         [](const Output& o) { return laminateBdf(o.file); }, true},
        {".nas", "", [](const Output& o) { return laminateBdf(o.file); }, true},
        {".fem", "", [](const Output& o) { return laminateBdf(o.file); }, true},
        {".vtu", "fibres and thickness per element and ply, VTK",
         [](const Output& o) { return laminateVtu(o.file); }},
        {".csv", "the same as a table", [](const Output& o) { return laminateCsv(o.file); }},
        {".pdf", "ply book: a table, a page per ply, core samples",
         [](const Output& o) { return plyBookPdf(o.book); }},
        {".dxf", "kit: the patterns of all plies for a cutting table, in millimetres",
         [](const Output& o) { return outlineDxf(scenesOf(o)); }},
        {".vtp", "the grids of all plies and pieces, VTK PolyData",
         [](const Output& o) { return piecesVtp(scenesOf(o)); }},
        {".glb", "the grids of all plies and pieces, glTF",
         [](const Output& o) { return piecesGltf(scenesOf(o), true); }},
        {".gltf", "the same as text", [](const Output& o) { return piecesGltf(scenesOf(o), false); }},
        {".json", "report", [](const Output& o) { return laminateJson(o.story); }}};
    return table;
}

std::vector<PlyWish> orderedPlies(const Settings& settings) {
    const std::vector<PlyWish> asRead = readLayup(settings.layup.file);
    std::vector<PlyWish> ordered;
    for (const std::size_t p : layingOrder(asRead)) {
        ordered.push_back(asRead[p]);
    }
    return ordered;
}

// A region that can't be read is its plies' trouble.
RegionCurves regionsOf(std::vector<PlyWish>& plies) {
    RegionCurves regions;
    std::map<std::string, std::string> unread;
    for (PlyWish& ply : plies) {
        if (ply.region.empty() || !ply.trouble.empty()) {
            continue;
        }
        try {
            if (regions.count(ply.region) == 0 && unread.count(ply.region) == 0) {
                regions.emplace(ply.region, readCurve(ply.region));
            }
        } catch (const InputError& error) {
            unread.emplace(ply.region, error.what());
        }
        if (unread.count(ply.region) > 0) {
            ply.trouble = unread[ply.region];
        }
    }
    return regions;
}

void tellTroubles(const Laminate& laminate, const Log& log) {
    for (const LaidPly& ply : laminate.plies) {
        for (const Note& note : ply.notes) {
            if (weightOf(note.kind) == Weight::warning) {
                log.warn("ply " + ply.wish.name + ": " + note.text);
            } else {
                log.detail("ply " + ply.wish.name + ": " + note.text);
            }
        }
        if (!ply.trouble.empty()) {
            log.warn("ply " + ply.wish.name + (ply.isLaid() ? ": " : " isn't draped: ") + ply.trouble);
        }
    }
}

// Stiffness at the eight points of integration of each layer, 27 numbers of 8 bytes.
constexpr double calculixBytesPerNumber = 8.0 * 27.0 * 8.0;
constexpr double muchMemory = 4.0; // gigabytes

std::int64_t largestElementNumber(const Laminate& laminate) {
    std::int64_t largest = 0;
    for (const ShellElement& element : laminate.shell.elements) {
        largest = std::max(largest, element.number);
    }
    return largest;
}

// What a deck lacks is said when one is written.
void tellOfDecks(const LaminateStory& story, const Log& log) {
    const auto isDeck = [](const std::string& path) { return kindOf(kinds(), path)->forSolver; };
    if (std::none_of(story.settings.outputs.begin(), story.settings.outputs.end(), isDeck)) {
        return;
    }
    if (story.bareElements > 0) {
        log.warn("no ply lies on " + counted(story.bareElements, "element", "elements") + " of " +
                 std::to_string(story.laminate.shell.elements.size()) + ", which the decks leave out");
    }
    const std::int64_t largest = largestElementNumber(story.laminate);
    const double gigabytes = calculixBytesPerNumber * static_cast<double>(story.laminate.plies.size()) *
                             static_cast<double>(largest) * 1e-9;
    const bool forCalculix = std::any_of(
        story.settings.outputs.begin(), story.settings.outputs.end(),
        [](const std::string& path) { return path.ends_with(".inp") && !path.ends_with(".abaqus.inp"); });
    if (forCalculix && gigabytes > muchMemory &&
        largest > 2 * static_cast<std::int64_t>(story.laminate.shell.elements.size())) {
        log.warn("CalculiX sets memory aside for every element number up to the largest, " +
                 std::to_string(largest) + ": some " + number(gigabytes, 2) + " GB");
    }
    for (const std::string& name : clothsWithoutStiffness(story.laminate)) {
        log.note("the layup gives no stiffness for the cloth " + name +
                 " (E1, E2, nu12, G12); the decks leave its material to you");
    }
}

void writeAll(const Output& output, const Settings& settings) {
    std::string failures;
    for (const std::string& path : settings.outputs) {
        try {
            writeWhole(path, kindOf(kinds(), path)->bytes(output));
            if (!settings.quiet) {
                std::cout << "wrote     " << path << '\n';
            }
        } catch (const std::exception& error) {
            failures += (failures.empty() ? "" : "\ndrape: ") + path + ": " + error.what();
        }
    }
    if (!failures.empty()) {
        throw std::runtime_error(failures);
    }
}

int exitCodeFor(const Laminate& laminate) {
    int code = exitDone;
    for (const LaidPly& ply : laminate.plies) {
        if (!ply.isLaid()) {
            return exitInput;
        }
        code = ply.trial && ply.trial->grid.status != DRAPE_OK ? exitRunEnded : code;
    }
    return code;
}

} // namespace

bool isLaminateOutput(const std::string& path) {
    return kindOf(kinds(), path) != nullptr;
}

std::string laminateOutputHelp() {
    return helpOf(kinds());
}

int runLayup(const Settings& settings, const ImportedMesh& mesh, const Log& log) {
    const auto begin = std::chrono::steady_clock::now();
    std::vector<PlyWish> plies = orderedPlies(settings);
    const RegionCurves regions = regionsOf(plies);
    const ShellMesh shell = mesh.shell ? *mesh.shell : shellOf(mesh.soup);
    LaminateWishes wishes;
    wishes.surface = settings.surface;
    wishes.trial = settings.trial;
    wishes.startAtMiddle = settings.startAtMiddle;
    wishes.buildUp = settings.layup.buildUp;
    wishes.cover = settings.cover.wishes;
    const std::size_t cores = settings.sweep.jobs > 0 ? static_cast<std::size_t>(settings.sweep.jobs)
                                                      : std::max(1U, std::thread::hardware_concurrency());
    ToldNotes notes(log);
    SharedThreads threads(cores);
    const Laminate laminate = laid(
        shell, plies, wishes, regions,
        [&](std::size_t count, const auto& work) { threads.forEach(count, work); }, notes.list());
    notes.tell();
    tellTroubles(laminate, log);

    const std::string mould = std::filesystem::path(settings.input).filename().string();
    const auto sheets = sheetsOf(laminate, {settings.allowance, settings.millimetresPerUnit, mould});
    std::vector<CoreSample> samples;
    for (const Point& place : settings.layup.cores) {
        samples.push_back(coreAt(laminate, place));
    }
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    const LaminateStory story{settings, laminate, sheets, samples, bareElements(laminate), seconds};
    if (!settings.quiet) {
        std::cout << laminateSummary(story) << std::flush;
    }
    tellOfDecks(story, log);
    const std::string title = counted(laminate.plies.size(), "ply", "plies") + " of " +
                              std::filesystem::path(settings.layup.file).filename().string() + " on " + mould;
    const LaminateFile file{laminate, settings.layup.reference, settings.millimetresPerUnit == 1.0, title};
    const PlyBook book{laminate, sheets,
                       samples,  settings.millimetresPerUnit,
                       mould,    std::filesystem::path(settings.layup.file).filename().string()};
    writeAll({story, file, book}, settings);
    return exitCodeFor(laminate);
}

} // namespace tool
