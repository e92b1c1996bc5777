// Values are taken as text and read strictly, so that a NaN, an infinity or a stray word is an error of use
// with the option's name on it.
#include "tool/options.h"

#include "host/mesh/point.h"
#include "tool/errors.h"
#include "tool/layup_run.h"
#include "tool/page.h"
#include "tool/read/numbers.h"
#include "tool/write/writers.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <filesystem>
#include <iostream>
#include <sstream>

namespace tool {

using namespace vec;

namespace {

constexpr const char* examples = R"(Examples:
  drape mould.stl -o mould.png
        drape from the middle, fibres along x, and look at it
  drape mould.obj --seed 0,0,120 --rosette 1,0,0 --angle 45 --step 5 -o d.grid.vtp -o d.fibres.csv
        a chosen start; the grid for a viewer, fibre angles for a structural model
  drape mould.obj --sweep -o best.pattern.pdf -o sweep.sweep.csv
        try many starts on all cores, keep the best, print its pattern 1:1
  drape part.ply --clip 0,0,10,0,0,1 --within max -o ply.dxf
        how far one ply can go on the part above z = 10, as a cutting outline
  drape part.stl --cover --overlap 20 --roll-width 1270 -o pieces.pdf -o pieces.png
        cover a part that one ply can't with a few pieces, and print their patterns
  drape skin.inp --set SKIN --layup layup.csv -o book.pdf -o kit.dxf -o laminate.inp
        all plies of a laminate: the workshop's book, the patterns, the solver's deck
  drape mould.obj --curve trim.xyz -o cut.curve.csv
        carry a trim line drawn on the part onto the cloth
  parallel drape mould.obj --quiet --sweep --part {}/8 -o part{}.sweep.csv ::: 1 2 3 4 5 6 7 8
  cat part?.sweep.csv > all.csv
        spread a sweep over eight jobs and join the tables

Exit codes: 0 done, 1 other failure (such as an output that can't be written), 2 bad usage,
3 bad input, 4 the run ended with a code (the partial drape is written all the same).)";

double numberOf(const std::string& option, const std::string& text) {
    double value = 0.0;
    if (!readNumber(text, value)) {
        throw UsageError(option + " " + text + ": that isn't a finite number");
    }
    return value;
}

double positiveOf(const std::string& option, const std::string& text) {
    const double value = numberOf(option, text);
    if (!(value > 0.0)) {
        throw UsageError(option + " " + text + ": that has to be above 0");
    }
    return value;
}

std::vector<double> numbersOf(const std::string& option, const std::string& text, std::size_t count,
                              const std::string& form) {
    std::vector<double> values;
    if (!readNumbers(text, values) || values.size() != count) {
        throw UsageError(option + " " + text + ": give " + form + " as finite numbers without blanks");
    }
    return values;
}

Point directionOf(const std::string& option, const std::vector<double>& values, std::size_t first) {
    const Point p{values[first], values[first + 1], values[first + 2]};
    if (!(length(p) > 0.0) || !std::isfinite(length(p))) {
        throw UsageError(option + ": the direction has no length");
    }
    return unit(p);
}

// The text of each option as it was given, empty if it wasn't.
struct Texts {
    std::string seed, seedVertex, start{"best"}, side, rosette, warp, angle, step, tolerance, pivot{"grid"},
        mostNodes, locking, within, part, jobs, millimetres, allowance, paper, cover, rollWidth, maxLength,
        overlap, seconds, keep;
    std::string meshSize;
    std::string reference;
    std::vector<std::string> clips, faces, cores;
    bool noWeld = false;
    bool covers = false;
    bool darts = false;
};

// Help texts keep to a terminal's width; the formatter indents what follows a line end.
std::string wrapped(const std::string& text) {
    constexpr std::size_t width = 66;
    std::string result;
    std::size_t column = 0;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        if (column > 0 && column + 1 + word.size() > width) {
            result += '\n';
            column = 0;
        } else if (column > 0) {
            result += ' ';
            ++column;
        }
        result += word;
        column += word.size();
    }
    return result;
}

void wrapDescriptions(CLI::App& app) {
    for (CLI::Option* option : app.get_options()) {
        option->description(wrapped(option->get_description()));
    }
}

void addInputOptions(CLI::App& app, Settings& settings, Texts& texts) {
    app.add_option("mesh", settings.input,
                   "Surface to drape: OBJ, STL, PLY, OFF, glTF, 3MF and more; shell meshes of solvers (.inp, "
                   ".bdf, .fem, .nas), Gmsh and VTK; STEP, IGES and BREP where gmsh is installed")
        ->type_name("FILE");
    app.add_option("--set", settings.import.sets,
                   "Take this set of elements of a solver's mesh alone (PID7: property 7); can be repeated")
        ->type_name("NAME")
        ->take_all();
    app.add_option("--face", texts.faces,
                   "Take this face of a CAD file alone, counted from 1; a list (2,5), can be repeated")
        ->type_name("K")
        ->take_all();
    app.add_option(
           "--mesh-size", texts.meshSize,
           "Longest side of the triangles that a CAD file is cut into, in mm [about 1/50 of the part]")
        ->type_name("H");
    app.add_option("--clip", texts.clips,
                   "Keep the side of the plane through x0,y0,z0 to which nx,ny,nz points; can be repeated")
        ->type_name("x0,y0,z0,nx,ny,nz")
        ->take_all();
    app.add_option(
           "--within", texts.within,
           "Keep the triangles within R of the seed along the surface; \"max\" finds the largest such "
           "patch that one ply can cover in one layer")
        ->type_name("R|max");
    app.add_flag("--fill-holes", settings.surface.fillHoles,
                 "Let the cloth run on over holes in the surface");
    app.add_flag("--no-weld", texts.noWeld, "Keep vertices apart that lie on each other, as along a slit");
}

void addStartOptions(CLI::App& app, Texts& texts) {
    const char* group = "Start and cloth";
    const auto add = [&](const std::string& name, std::string& value, const std::string& type,
                         const std::string& help) {
        app.add_option(name, value, help)->type_name(type)->group(group);
    };
    add("--seed", texts.seed, "x,y,z",
        "Where the drape starts, moved onto the surface if need be [see --start]");
    add("--seed-vertex", texts.seedVertex, "N", "Start at the file's N-th vertex, counted from 1");
    add("--start", texts.start, "best|middle",
        "Without a seed: best, of some places around the middle the one from which the cloth shears least; "
        "middle, the surface point nearest to the centroid, as sweeps and --within take it [best]");
    add("--side", texts.side, "x,y,z",
        "The cloth lies on the side of the surface to which this points [+z, or +y or +x where the surface "
        "faces "
        "no clear z]");
    add("--rosette", texts.rosette, "x,y,z",
        "Direction of angle 0, laid onto the surface at the seed [that of --warp, or 1,0,0]");
    add("--warp", texts.warp, "x,y,z",
        "Direction of the warp, laid onto the surface at the seed [that of --rosette]");
    add("--angle", texts.angle, "DEG",
        "Turn warp and weft at the seed, anticlockwise seen from the side on which the cloth lies [0]");
    add("--step", texts.step, "A[,B]", "Cell length along warp and weft [about 40 cells across]");
    add("--tolerance", texts.tolerance, "T", "Lengths below this count as nothing [1/1000 of a cell]");
    add("--pivot", texts.pivot, "grid|shear",
        "Where each row starts: grid, on the fibre lines through the seed, which stay straight; shear, at "
        "the "
        "least sheared cell of the row before, which can carry a drape further on uneven moulds [grid]");
    add("--max-nodes", texts.mostNodes, "N",
        "Give up beyond this many nodes [six layers of cloth, at most 5000000]");
    add("--locking", texts.locking, "DEG", "Shear beyond which the cloth wrinkles, for the measures [45]");
}

void addSweepOptions(CLI::App& app, Settings& settings, Texts& texts) {
    const char* group = "Sweep";
    app.add_flag("--sweep", settings.sweep.wanted, "Drape many seeds and angles, rank them, keep the best")
        ->group(group);
    app.add_option(
           "--sweep-seeds", settings.sweep.seeds,
           "Seeds: a count to spread (9), a grid (5x3), a list (x,y,z;x,y,z) or a file (@seeds.txt) [9]")
        ->type_name("SEEDS")
        ->group(group);
    app.add_option("--sweep-angles", settings.sweep.angles,
                   "Angles, on top of --angle: a list (0,30,45) or from:below:step (0:90:15) [0:90:15]")
        ->type_name("ANGLES")
        ->group(group);
    app.add_option("--part", texts.part,
                   "Drape only the K-th of N shares of the candidates; the tables of all shares join by cat")
        ->type_name("K/N")
        ->group(group);
    app.add_option("--jobs,-j", texts.jobs, "Threads at a time [one per core]")->type_name("N")->group(group);
}

void addLayupOptions(CLI::App& app, Settings& settings, Texts& texts) {
    const char* group = "Laminate";
    app.add_option(
           "--layup", settings.layup.file,
           "Drape the plies of this layup (CSV or JSON), on all cores; outputs are those of a laminate")
        ->type_name("FILE")
        ->group(group);
    app.add_flag("--build-up", settings.layup.buildUp, "Lay each ply on the thickness of those below it")
        ->group(group);
    app.add_option("--core", texts.cores, "List what lies at this place, layer by layer; can be repeated")
        ->type_name("x,y,z")
        ->take_all()
        ->group(group);
    app.add_option(
           "--shell-reference", texts.reference,
           "What the mesh is in decks: middle, the shell's middle; mould, the face on the mould [middle]")
        ->type_name("middle|mould")
        ->group(group);
}

void addCoverOptions(CLI::App& app, Settings& settings, Texts& texts) {
    const char* group = "Several pieces";
    const auto add = [&](const std::string& name, std::string& value, const std::string& type,
                         const std::string& help) {
        return app.add_option(name, value, help)->type_name(type)->group(group);
    };
    add("--cover", texts.cover, "SHARE",
        "Cover the part with as few pieces as can be found, each within --locking and in one layer [0.99]")
        ->expected(0, 1);
    app.add_flag("--free-angles", settings.cover.wishes.freeAngles,
                 "Let each piece lie at an angle of its own; otherwise all lie at --angle")
        ->group(group);
    add("--roll-width", texts.rollWidth, "W", "Widest that the cloth is along the weft, in the file's unit");
    add("--max-length", texts.maxLength, "L", "Longest that a piece can be along the warp");
    add("--overlap", texts.overlap, "D", "Of neighbouring pieces, half of it on each side of the seam [0]");
    app.add_flag(
           "--darts", texts.darts,
           "Slit a piece from its edge to where it would fold, if that saves a piece; of a single ply, if "
           "that covers clearly more (and keep the good region alone)")
        ->group(group);
    add("--seconds", texts.seconds, "S",
        "Look for a better set for so long [a fixed number of steps, so that the answer is always the same]");
    add("--keep", texts.keep, "good|all",
        "Of a single ply: good, only the region around the seed that is within locking and in one layer "
        "[all]");
}

void addOutputOptions(CLI::App& app, Settings& settings, Texts& texts) {
    const char* group = "Output";
    app.add_option("-o,--output", settings.outputs,
                   "File to write, of the kind that its ending says; can be repeated")
        ->type_name("FILE")
        ->take_all()
        ->group(group);
    app.add_option("--curve", settings.curves,
                   "Closed curve to carry onto the pattern: x y z per line, the last joined to the first, or "
                   "lines of an "
                   "OBJ file; can be repeated")
        ->type_name("FILE")
        ->take_all()
        ->group(group);
    app.add_flag("--curve-clip", settings.cutCurves,
                 "Cut curves where they leave the cloth; otherwise that is an error")
        ->group(group);
    app.add_option("--allowance", texts.allowance,
                   "Cut line this far outside the net pattern, in the file's unit [0]")
        ->type_name("D")
        ->group(group);
    app.add_option("--paper", texts.paper,
                   "Print the pattern on sheets to join: A4, A3, A2, A1, A0 or W,H in mm [one page]")
        ->type_name("SIZE")
        ->group(group);
    app.add_option("--name", settings.ply, "Name of the ply on drawings [that of the mesh file]")
        ->type_name("TEXT")
        ->group(group);
    app.add_option("--units-mm", texts.millimetres,
                   "Millimetres per unit of the file, for drawings at 1:1 [1]")
        ->type_name("F")
        ->group(group);
    app.add_flag("-q,--quiet", settings.quiet, "Print no summary and no notes, only warnings and errors")
        ->group(group);
    app.add_flag("-v,--verbose", settings.verbose, "Print more on what is done")->group(group);
}

void understandStart(const Texts& texts, Settings& settings) {
    if (!texts.seed.empty()) {
        const auto v = numbersOf("--seed", texts.seed, 3, "x,y,z");
        settings.surface.seed = Point{v[0], v[1], v[2]};
    }
    if (!texts.seedVertex.empty()) {
        const double value = positiveOf("--seed-vertex", texts.seedVertex);
        if (value != std::floor(value) || value > 2e9) {
            throw UsageError("--seed-vertex " + texts.seedVertex + ": that isn't a vertex number");
        }
        settings.seedVertex = static_cast<std::int64_t>(value);
    }
    if (settings.surface.seed && settings.seedVertex) {
        throw UsageError("give --seed or --seed-vertex, not both");
    }
    const auto direction = [](const std::string& option, const std::string& text) {
        return text.empty() ? std::optional<Point>()
                            : directionOf(option, numbersOf(option, text, 3, "x,y,z"), 0);
    };
    settings.surface.side = direction("--side", texts.side);
    settings.trial.start.rosette = direction("--rosette", texts.rosette);
    settings.trial.start.warp = direction("--warp", texts.warp);
    settings.angle = texts.angle.empty() ? 0.0 : numberOf("--angle", texts.angle);
    if (!texts.step.empty()) {
        if (std::count(texts.step.begin(), texts.step.end(), ',') > 1) {
            throw UsageError("--step " + texts.step +
                             ": give one length, or two as A,B for the cell's sides along warp and weft");
        }
        const std::size_t comma = texts.step.find(',');
        settings.trial.start.stepA = positiveOf("--step", texts.step.substr(0, comma));
        if (comma != std::string::npos) {
            settings.trial.start.stepB = positiveOf("--step", texts.step.substr(comma + 1));
        }
    }
}

void understandNumbers(const Texts& texts, Settings& settings) {
    if (!texts.tolerance.empty()) {
        settings.trial.start.tolerance = numberOf("--tolerance", texts.tolerance);
        if (*settings.trial.start.tolerance < 0.0) {
            throw UsageError("--tolerance " + texts.tolerance + ": that can't be below 0");
        }
    }
    if (texts.start != "best" && texts.start != "middle") {
        throw UsageError("--start " + texts.start + ": give best or middle");
    }
    settings.startAtMiddle = texts.start == "middle";
    if (texts.pivot != "grid" && texts.pivot != "shear") {
        throw UsageError("--pivot " + texts.pivot + ": give grid or shear");
    }
    settings.trial.start.pivotByGridLine = texts.pivot == "grid";
    if (!texts.mostNodes.empty()) {
        const double value = numberOf("--max-nodes", texts.mostNodes);
        constexpr double most = 50e6; // keeps every array of the library within its element counts
        if (!(value >= 4.0) || value > most || value != std::floor(value)) {
            throw UsageError("--max-nodes " + texts.mostNodes + ": give a whole number from 4 to 50000000");
        }
        settings.trial.mostNodes = static_cast<std::int32_t>(value);
    }
    if (!texts.locking.empty()) {
        settings.trial.lockingAngle = numberOf("--locking", texts.locking);
        if (settings.trial.lockingAngle < 0.0 || settings.trial.lockingAngle > 90.0) {
            throw UsageError("--locking " + texts.locking + ": that has to lie between 0 and 90 degrees");
        }
    }
}

Paper paperAsked(const std::string& text) {
    std::vector<double> values;
    std::optional<Paper> paper = paperNamed(text);
    if (!paper && readNumbers(text, values) && values.size() == 2) {
        paper = paperOf(values[0], values[1]);
    }
    if (!paper) {
        throw UsageError("--paper " + text + ": give A4, A3, A2, A1, A0 or W,H from 100 to 5080 mm");
    }
    return *paper;
}

void understandDrawings(const Texts& texts, Settings& settings) {
    if (!texts.millimetres.empty()) {
        settings.millimetresPerUnit = positiveOf("--units-mm", texts.millimetres);
        settings.unitGiven = true;
    }
    if (!texts.allowance.empty()) {
        settings.allowance = numberOf("--allowance", texts.allowance);
        if (settings.allowance < 0.0) {
            throw UsageError("--allowance " + texts.allowance + ": that can't be below 0");
        }
    }
    if (!texts.paper.empty()) {
        settings.paper = paperAsked(texts.paper);
    }
    if (settings.ply.empty()) {
        settings.ply = std::filesystem::path(settings.input).stem().string();
    }
}

void understandSurface(const Texts& texts, Settings& settings) {
    for (const std::string& text : texts.clips) {
        const auto v = numbersOf("--clip", text, 6, "x0,y0,z0,nx,ny,nz");
        settings.surface.clips.push_back({{v[0], v[1], v[2]}, directionOf("--clip", v, 3)});
    }
    settings.surface.weld = !texts.noWeld;
    settings.trial.withinLargest = texts.within == "max";
    if (!texts.within.empty() && !settings.trial.withinLargest) {
        settings.surface.within = settings.trial.within = positiveOf("--within", texts.within);
    }
}

void understandImport(const Texts& texts, Settings& settings) {
    for (const std::string& text : texts.faces) {
        std::vector<double> faces;
        if (!readNumbers(text, faces)) {
            throw UsageError("--face " + text + ": give numbers of faces, such as 2 or 2,5");
        }
        for (const double face : faces) {
            if (!(face >= 1.0) || face != std::floor(face) || face > 1e9) {
                throw UsageError("--face " + text + ": faces are counted from 1");
            }
            settings.import.faces.push_back(static_cast<std::int64_t>(face));
        }
    }
    if (!texts.meshSize.empty()) {
        settings.import.meshSize = positiveOf("--mesh-size", texts.meshSize);
    }
}

// Options of covers, darts and pieces that need or rule out others.
void checkCoverOptions(const Texts& texts, const Settings& settings) {
    const CoverSettings& cover = settings.cover;
    if (texts.darts && texts.keep == "all") {
        throw UsageError("--darts keeps the good region and doesn't go with --keep all");
    }
    // Plies of a layup may lie in pieces too, each at its ply's angle.
    const bool layup = !settings.layup.file.empty();
    const std::array<std::pair<const char*, bool>, 5> belong{
        {{"--free-angles", cover.wishes.freeAngles},
         {"--overlap", !texts.overlap.empty() && !layup},
         {"--seconds", !texts.seconds.empty()},
         {"--roll-width", !texts.rollWidth.empty() && !settings.keepGood && !layup},
         {"--max-length", !texts.maxLength.empty() && !settings.keepGood && !layup}}};
    if (texts.darts && (settings.sweep.wanted || !texts.within.empty())) {
        throw UsageError("--darts goes with --cover, or with a single ply without --sweep and --within");
    }
    for (const auto& [option, given] : belong) {
        if (given && !cover.wanted) {
            throw UsageError(std::string(option) + " goes with --cover");
        }
    }
    const std::array<std::pair<const char*, bool>, 6> others{
        {{"--sweep", settings.sweep.wanted},
         {"--within", !texts.within.empty()},
         {"--seed", settings.surface.seed || settings.seedVertex},
         {"--curve", !settings.curves.empty()},
         {"--keep", settings.keepGood},
         {"--start", texts.start != "best"}}};
    for (const auto& [option, given] : others) {
        if (given && cover.wanted) {
            throw UsageError(std::string("--cover finds its pieces by itself and doesn't go with ") + option);
        }
    }
}

void understandCover(const Texts& texts, Settings& settings) {
    CoverSettings& cover = settings.cover;
    cover.wanted = texts.covers;
    const auto length = [](const std::string& option, const std::string& text, double otherwise) {
        return text.empty() ? otherwise : positiveOf(option, text);
    };
    if (!texts.cover.empty()) {
        cover.wishes.share = numberOf("--cover", texts.cover);
        if (!(cover.wishes.share > 0.0) || cover.wishes.share > 1.0) {
            throw UsageError("--cover " + texts.cover + ": give a share of the area above 0 and up to 1");
        }
    }
    cover.wishes.angle = settings.angle;
    cover.wishes.most[0] = length("--max-length", texts.maxLength, cover.wishes.most[0]);
    cover.wishes.most[1] = length("--roll-width", texts.rollWidth, cover.wishes.most[1]);
    if (!texts.overlap.empty()) {
        cover.wishes.overlap = numberOf("--overlap", texts.overlap);
        if (cover.wishes.overlap < 0.0) {
            throw UsageError("--overlap " + texts.overlap + ": that can't be below 0");
        }
    }
    if (!texts.seconds.empty()) {
        cover.seconds = positiveOf("--seconds", texts.seconds);
    }
    if (!texts.keep.empty() && texts.keep != "good" && texts.keep != "all") {
        throw UsageError("--keep " + texts.keep + ": give good or all");
    }
    settings.keepGood = texts.keep == "good" || (texts.darts && !cover.wanted && settings.layup.file.empty());
    cover.wishes.darts = texts.darts ? mostDarts : 0;
    checkCoverOptions(texts, settings);
}

void understandLayup(const Texts& texts, Settings& settings) {
    LayupSettings& layup = settings.layup;
    for (const std::string& text : texts.cores) {
        const auto v = numbersOf("--core", text, 3, "x,y,z");
        layup.cores.push_back({v[0], v[1], v[2]});
    }
    if (!texts.reference.empty() && texts.reference != "middle" && texts.reference != "mould") {
        throw UsageError("--shell-reference " + texts.reference + ": give middle or mould");
    }
    layup.reference = texts.reference == "mould" ? ShellReference::mould : ShellReference::middle;
    if (layup.file.empty()) {
        if (layup.buildUp || !layup.cores.empty() || !texts.reference.empty()) {
            throw UsageError("--build-up, --core and --shell-reference go with --layup");
        }
    } else if (settings.sweep.wanted || settings.cover.wanted || settings.keepGood || settings.trial.within ||
               settings.trial.withinLargest || !settings.curves.empty() || !texts.angle.empty()) {
        throw UsageError(
            "--sweep, --cover, --keep, --within, --curve and --angle are of one ply and don't go with "
            "--layup");
    }
}

void understandSweep(const Texts& texts, Settings& settings) {
    SweepSettings& sweep = settings.sweep;
    sweep.wanted = sweep.wanted || !sweep.seeds.empty() || !sweep.angles.empty();
    if (!texts.part.empty()) {
        const std::size_t slash = texts.part.find('/');
        double part = 0.0;
        double parts = 0.0;
        const bool read = slash != std::string::npos && readNumber(texts.part.substr(0, slash), part) &&
                          readNumber(texts.part.substr(slash + 1), parts);
        if (!read || part < 1.0 || part > parts || parts > 1e6 || part != std::floor(part) ||
            parts != std::floor(parts)) {
            throw UsageError("--part " + texts.part + ": give K/N with K from 1 to N, such as 3/8");
        }
        if (!sweep.wanted) {
            throw UsageError("--part goes with --sweep");
        }
        sweep.part = static_cast<int>(part);
        sweep.parts = static_cast<int>(parts);
    }
    if (!texts.jobs.empty()) {
        const double value = positiveOf("--jobs", texts.jobs);
        constexpr double most = 4096;
        if (value != std::floor(value) || value > most) {
            throw UsageError("--jobs " + texts.jobs + ": give a whole number from 1 to 4096");
        }
        sweep.jobs = static_cast<int>(value);
    }
}

// An output that would take the place of a file that the run reads, or of another output.
void checkOverwriting(const Settings& settings, const std::string& path) {
    std::vector<std::string> inputs = settings.curves;
    inputs.push_back(settings.input);
    if (!settings.layup.file.empty()) {
        inputs.push_back(settings.layup.file);
    }
    if (settings.sweep.seeds.starts_with('@')) {
        inputs.push_back(settings.sweep.seeds.substr(1));
    }
    for (const std::string& input : inputs) {
        if (isSameFile(path, input)) {
            throw UsageError("-o " + path + ": that is the input " + input + ", which would be lost");
        }
    }
    if (std::count_if(settings.outputs.begin(), settings.outputs.end(),
                      [&](const std::string& other) { return isSameFile(path, other); }) > 1) {
        throw UsageError("-o " + path + ": two outputs have this name");
    }
}

void checkOutputs(const Settings& settings) {
    for (const std::string& path : settings.outputs) {
        checkOverwriting(settings, path);
        if (!settings.layup.file.empty()) {
            if (!isLaminateOutput(path)) {
                throw UsageError("-o " + path +
                                 ": a laminate isn't written as that; drape --help lists its kinds");
            }
            if (path.find(".core.") != std::string::npos && settings.layup.cores.empty()) {
                throw UsageError("-o " + path +
                                 ": a core sample is written only if one is asked for with --core");
            }
            continue;
        }
        if (path.ends_with(".sweep.csv")) {
            if (!settings.sweep.wanted) {
                throw UsageError("-o " + path + ": a table of a sweep goes with --sweep");
            }
        } else if (!isKnownOutput(path) && isLaminateOutput(path)) {
            throw UsageError("-o " + path + ": this is a file of a laminate, and goes with --layup");
        } else if (settings.cover.wanted && !isKnownCoverOutput(path)) {
            throw UsageError("-o " + path + ": several pieces can't be written as this; --cover makes\n" +
                             coverOutputHelp());
        } else if (isPage(path)) {
            if (settings.cover.wishes.darts > 0) {
                throw UsageError("-o " + path + ": the page doesn't drape with --darts");
            }
            if (!pageTemplate()) {
                throw UsageError(
                    "-o " + path +
                    ": the page isn't installed with this program; docs/page.md says how to build it");
            }
        } else if (!settings.cover.wanted && !isKnownOutput(path)) {
            throw UsageError("-o " + path + ": no kind of output has this ending; drape --help lists them");
        }
        if (path.find(".curve.") != std::string::npos && settings.curves.empty()) {
            throw UsageError("-o " + path + ": a curve is written only if one is given with --curve");
        }
    }
}

std::string footer() {
    return "Kinds of output, by the ending of the file name:\n" + outputHelp() +
           (outputHelp().ends_with("\n") ? "" : "\n") +
           "  *.html          a page that drapes live, with the part inside, for any browser\n"
           "  *.sweep.csv     all candidates of a sweep, one per line\n"
           "  *.pieces.obj    with --cover, the surface under each piece: NAME.piece1.obj, NAME.piece2.obj, "
           "...\n\nWith --layup:\n" +
           laminateOutputHelp() + "\n" + examples;
}

} // namespace

bool readCommandLine(int argc, char** argv, Settings& settings) {
    CLI::App app{"Drapes woven cloth over a mould: where it shears, what pattern to cut, where to start.",
                 "drape"};
    Texts texts;
    addInputOptions(app, settings, texts);
    addStartOptions(app, texts);
    addSweepOptions(app, settings, texts);
    addCoverOptions(app, settings, texts);
    addLayupOptions(app, settings, texts);
    addOutputOptions(app, settings, texts);
    app.set_version_flag("--version", "drape " DRAPE_TOOL_VERSION, "Print the version and exit");
    app.footer(footer());
    app.get_formatter()->column_width(26);
    wrapDescriptions(app);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& said) {
        app.exit(said, std::cout, std::cerr);
        return false;
    } catch (const CLI::ParseError& error) {
        throw UsageError(error.what());
    }
    texts.covers = app.count("--cover") > 0;
    double share = 0.0;
    if (settings.input.empty() && !readNumber(texts.cover, share)) {
        settings.input.swap(texts.cover); // the word behind --cover was the file
    }
    if (settings.input.empty()) {
        throw UsageError("which surface? Name a mesh file, or see drape --help");
    }
    understandStart(texts, settings);
    understandNumbers(texts, settings);
    understandDrawings(texts, settings);
    understandSurface(texts, settings);
    understandImport(texts, settings);
    understandSweep(texts, settings);
    understandCover(texts, settings);
    understandLayup(texts, settings);
    checkOutputs(settings);
    std::for_each(settings.outputs.begin(), settings.outputs.end(), checkPlace);
    return true;
}

} // namespace tool
