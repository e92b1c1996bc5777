// What the page's workers call: one part, its surface, its latest drape. A call takes a name, JSON and, where
// a file comes in, bytes; it leaves JSON and, where a file goes out, bytes. Arrays go by address: the reply
// names them under "arrays" as [address, elements], to be read before the next call.
#include "drape.h"
#include "host/cloth/area_by_shear.h"
#include "host/cloth/curve.h"
#include "host/cloth/net_faces.h"
#include "host/cloth/status_text.h"
#include "host/mesh/error.h"
#include "host/search/default_start.h"
#include "tool/draw/colour.h"
#include "tool/draw/cut_lines.h"
#include "tool/draw/labels.h"
#include "tool/read/surface_formats.h"
#include "tool/report.h"
#include "tool/write/sweep_json.h"
#include "tool/write/sweep_table.h"
#include "tool/write/writers.h"
#include "web/core/settings_json.h"

#include <algorithm>
#include <cstring>
#include <emscripten/emscripten.h>
#include <functional>
#include <map>
#include <new>
#include <sstream>
#include <string_view>

namespace drape::web {
namespace {

constexpr std::size_t sweepRowsShown = 10;

// A stream buffer over bytes that stay where they are.
class ByteView : public std::streambuf {
public:
    explicit ByteView(std::string& bytes) { setg(bytes.data(), bytes.data(), bytes.data() + bytes.size()); }

protected:
    pos_type seekoff(off_type by, std::ios_base::seekdir from, std::ios_base::openmode) override {
        char* base = from == std::ios_base::beg ? eback() : from == std::ios_base::cur ? gptr() : egptr();
        if (by < eback() - base || by > egptr() - base) {
            return pos_type(off_type(-1));
        }
        setg(eback(), base + by, egptr());
        return gptr() - eback();
    }
    pos_type seekpos(pos_type to, std::ios_base::openmode mode) override {
        return seekoff(off_type(to), std::ios_base::beg, mode);
    }
};

// All that a worker holds.
struct Page {
    std::string in;    // JSON of the call
    std::string bytes; // beside it, in or out
    std::string out;   // JSON of the reply
    std::string file;  // name of the part's file
    PolygonSoup soup;
    Surface surface;
    Surface coarse; // one of fewer triangles instead, for drapes while something is dragged; can be without a
                    // mould
    Trial trial;
    double lockingAngle = 0.0;
    bool measured = false;
    Surface startSurface; // of a search for a start, with the cells wished for
    StartSearch search;
    std::vector<SweepResult> startResults;
    std::vector<CurveResult> curves;
    // As the reply of "drape" tells.
    std::vector<double> flatLines, spaceLines, clipped, shears, curveFlat, curveSpace;
    std::vector<std::int32_t> outlines, borders, lineEnds, clippedCells, clippedEnds, curveEnds;
};

Page& page() {
    static Page only;
    return only;
}

template <class T>
Json arrayOf(const std::vector<T>& values, std::size_t perElement = 1) {
    return Json::array({reinterpret_cast<std::uintptr_t>(values.data()), values.size() * perElement});
}

Json notesJson(const Notes& notes) {
    constexpr std::array<const char*, 3> weights{"detail", "change", "warning"};
    Json list = Json::array();
    for (const Note& note : notes) {
        list.push_back(
            {{"text", note.text}, {"weight", weights.at(static_cast<std::size_t>(weightOf(note.kind)))}});
    }
    return list;
}

std::string endingOf(const std::string& file) {
    std::string ending = file.substr(std::min(file.size(), file.find_last_of('.') + 1));
    std::transform(ending.begin(), ending.end(), ending.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return ending;
}

// {file}, and the file in `bytes`.
Json openFile(const Json& call) {
    Page& p = page();
    p.soup = {};
    p.file = call.at("file").get<std::string>();
    const std::string ending = endingOf(p.file);
    if (!tool::isSurfaceFormat(ending)) {
        throw InputError("it's no OBJ, STL, PLY or OFF file; the program drape reads more kinds");
    }
    if (p.bytes.empty()) {
        throw InputError("the file is empty");
    }
    ByteView view(p.bytes);
    std::istream in(&view);
    p.soup = tool::readSurface(in, ending);
    p.bytes = {};
    tool::requireSurface(p.soup);
    return {{"vertices", p.soup.points.size()}, {"faces", p.soup.polygons.size()}};
}

// {points, polygons}: in `bytes` three doubles per point, then for each polygon the number of its corners and
// these, counted from 0, as int32.
PolygonSoup packedPolygons(const Json& call) {
    Page& p = page();
    PolygonSoup soup;
    const auto points = call.at("points").get<std::size_t>();
    const auto polygons = call.at("polygons").get<std::size_t>();
    const std::size_t pointBytes = points * sizeof(Point);
    std::size_t at = pointBytes;
    const auto next = [&] {
        std::int32_t number = 0;
        if (at + sizeof number > p.bytes.size()) {
            throw InputError("the part in this page is cut off");
        }
        std::memcpy(&number, p.bytes.data() + at, sizeof number);
        at += sizeof number;
        return number;
    };
    if (points > p.bytes.size() / sizeof(Point) || polygons > p.bytes.size()) {
        throw InputError("the part in this page is cut off");
    }
    soup.points.resize(points);
    std::memcpy(soup.points.data(), p.bytes.data(), pointBytes);
    for (std::size_t i = 0; i < polygons; ++i) {
        auto& corners = soup.polygons.emplace_back();
        for (std::int32_t k = next(); k > 0; --k) {
            const std::int32_t corner = next();
            if (corner < 0 || static_cast<std::size_t>(corner) >= points) {
                throw InputError("a face of the part in this page names a point that isn't there");
            }
            corners.push_back(corner);
        }
    }
    p.bytes = {};
    tool::requireSurface(soup);
    return soup;
}

// {file}, and the part as packedPolygons reads it.
Json openPolygons(const Json& call) {
    Page& p = page();
    p.soup = {};
    p.file = call.at("file").get<std::string>();
    p.soup = packedPolygons(call);
    return {{"vertices", p.soup.points.size()}, {"faces", p.soup.polygons.size()}};
}

// Settings of the surface. Arrays: positions (3 doubles per vertex), corners (3 int32 per triangle, from 1),
// outlines (per loop the number of its vertices and these, from 0).
Json prepare(const Json& settings) {
    Page& p = page();
    Notes notes;
    p.trial = {};
    p.measured = false;
    p.startSurface = {};
    p.search = {};
    p.coarse = {};
    p.surface = preparedSurface(p.soup, surfaceWishesOf(settings), {}, notes);
    const Mould& mould = *p.surface.mould;
    p.outlines.clear();
    for (const Loop& loop : mould.loops) {
        p.outlines.push_back(static_cast<std::int32_t>(loop.vertices.size()));
        p.outlines.insert(p.outlines.end(), loop.vertices.begin(), loop.vertices.end());
    }
    return {{"file", p.file},
            {"triangles", mould.triangleCount()},
            {"area", mould.area},
            {"steps", p.surface.steps},
            {"middle", p.surface.defaultSeed},
            {"side", textOf(p.surface.side)},
            {"sideRule", static_cast<int>(p.surface.side.rule)},
            {"towards", p.surface.side.towards},
            {"closed", mould.loops.empty()},
            {"holes", mould.loops.empty() ? 0 : mould.loops.size() - 1},
            {"notes", notesJson(notes)},
            {"arrays",
             {{"positions", arrayOf(mould.positions, 3)},
              {"corners", arrayOf(mould.corners)},
              {"outlines", arrayOf(p.outlines)}}}};
}

// A mould of fewer triangles over the prepared surface, as packedPolygons reads it. Drapes of settings with
// `live` are made on it.
Json prepareCoarse(const Json& call) {
    Page& p = page();
    Notes notes;
    SurfaceWishes wishes;
    wishes.startsInMiddle = false;
    if (p.surface.side.rule == SideRule::named || p.surface.side.rule == SideRule::usual) {
        wishes.side = p.surface.side.towards;
    }
    p.coarse = preparedSurface(packedPolygons(call), wishes, {}, notes);
    return Json::object();
}

bool isLive(const Json& settings) {
    return settings.value("live", false);
}

// The surface with the cells that the settings ask for, else its usual ones.
Surface surfaceFor(const Json& settings) {
    const Page& p = page();
    Surface surface = isLive(settings) && p.coarse.mould ? p.coarse : p.surface;
    const StartWishes wishes = trialWishesOf(settings).start;
    surface.steps = wishes.stepA ? stepsFor(wishes, p.surface.mould->area) : p.surface.steps;
    checkTolerance(wishes, surface.steps);
    return surface;
}

Point seedOf(const Json& settings) {
    return pointOf(settings, "seed").value_or(page().surface.defaultSeed);
}

// The search for where the program starts if nobody says, in steps: startPlaces tells how many there are,
// each of them is draped by {place} among the settings, and bestPlace tells the best of these, and the middle
// if that is elsewhere.
Json startPlaces(const Json& settings) {
    Page& p = page();
    const TrialWishes wishes = trialWishesOf(settings);
    p.startSurface = surfaceFor(settings);
    p.startResults.clear();
    p.search = wishes.within || wishes.withinLargest
                   ? StartSearch{}
                   : startSearch(p.startSurface, settings.value("angle", 0.0));
    return {{"places", p.search.candidates.size()}};
}

Json tryPlace(const Json& settings) {
    Page& p = page();
    p.startResults.push_back(tried(p.search.surface, trialWishesOf(settings),
                                   p.search.candidates.at(settings.at("place").get<std::size_t>())));
    return Json::object();
}

Json bestPlace(const Json&) {
    Page& p = page();
    const Point middle = p.startSurface.defaultSeed;
    const Point seed = bestOf(p.startResults, middle);
    const bool moved = vec::distance(seed, middle) > finestOf(p.startSurface.steps);
    return {{"seed", seed}, {"passedOver", moved ? Json(middle) : Json()}};
}

// The lines of the net: flat and space points, what each stretch is, and where each loop ends; then the cells
// cut along it: their numbers, their polygons' points, and per polygon its end and its cell's place in the
// list.
void layOutNet(const NetPattern& net) {
    Page& p = page();
    p.flatLines.clear();
    p.spaceLines.clear();
    p.borders.clear();
    p.lineEnds.clear();
    for (const NetLoop& loop : net.loops) {
        for (std::size_t k = 0; k < loop.flat.size(); ++k) {
            p.flatLines.insert(p.flatLines.end(), loop.flat[k].begin(), loop.flat[k].end());
            p.spaceLines.insert(p.spaceLines.end(), loop.space[k].begin(), loop.space[k].end());
            p.borders.push_back(static_cast<std::int32_t>(loop.borders[k]));
        }
        p.lineEnds.push_back(static_cast<std::int32_t>(p.borders.size()));
    }
    p.clipped.clear();
    p.clippedCells.clear();
    p.clippedEnds.clear();
    for (const ClippedCell& cell : net.clippedCells) {
        for (const auto& polygon : cell.polygons) {
            for (const FlatPoint& point : polygon) {
                p.clipped.insert(p.clipped.end(), point.begin(), point.end());
            }
            p.clippedEnds.push_back(static_cast<std::int32_t>(p.clipped.size() / 2));
            p.clippedCells.push_back(static_cast<std::int32_t>(cell.cell));
        }
    }
}

// The curves of the settings on the cloth. One that can't be carried over is left out and told of.
void carryCurves(const Json& settings, Notes& notes) {
    Page& p = page();
    p.curves.clear();
    for (const DrawnCurve& curve : curvesOf(settings)) {
        try {
            if (p.trial.measures.cellsOnSurface > 0) {
                p.curves.push_back(carryOver(curve, *p.trial.mould, p.trial.choice, p.trial.grid,
                                             p.trial.measures, settings.value("cutCurves", false), notes));
            }
        } catch (const std::bad_alloc&) {
            throw;
        } catch (const std::exception& error) {
            tell(notes, NoteKind::curveOffSurface, error.what());
        }
    }
}

// The stretches' points on the pattern and in space, and where each stretch ends, a closed one at its first
// point.
void layOutCurves() {
    Page& p = page();
    p.curveFlat.clear();
    p.curveSpace.clear();
    p.curveEnds.clear();
    for (const CurveResult& curve : p.curves) {
        for (const CurveStretch& stretch : curve.stretches) {
            const std::size_t count = stretch.flat.size();
            for (std::size_t k = 0; k < count + (stretch.closed ? 1 : 0); ++k) {
                const FlatPoint& flat = stretch.flat[k % count];
                const Point& space = stretch.cloth[k % count];
                p.curveFlat.insert(p.curveFlat.end(), flat.begin(), flat.end());
                p.curveSpace.insert(p.curveSpace.end(), space.begin(), space.end());
            }
            p.curveEnds.push_back(static_cast<std::int32_t>(p.curveFlat.size() / 2));
        }
    }
}

Json trialArrays(const Trial& trial) {
    Page& p = page();
    const Grid& g = trial.grid;
    static_assert(sizeof(Cell) == 32 && offsetof(Cell, nodes) == 0);
    layOutNet(trial.measures.net);
    layOutCurves();
    p.shears.clear();
    for (const NetFace& face : netFaces(g, trial.measures)) {
        p.shears.push_back(face.shear);
    }
    const std::vector<Cell>& cells = trial.measures.cells;
    return {{"position", arrayOf(g.position)},
            {"flat", arrayOf(g.flat)},
            {"normal", arrayOf(g.normal)},
            {"nodeStatus", arrayOf(g.nodeStatus)},
            {"cells", arrayOf(cells)},
            {"flatLines", arrayOf(p.flatLines)},
            {"spaceLines", arrayOf(p.spaceLines)},
            {"borders", arrayOf(p.borders)},
            {"lineEnds", arrayOf(p.lineEnds)},
            {"wholeCells", arrayOf(trial.measures.net.wholeCells)},
            {"shears", arrayOf(p.shears)},
            {"clipped", arrayOf(p.clipped)},
            {"clippedCells", arrayOf(p.clippedCells)},
            {"clippedEnds", arrayOf(p.clippedEnds)},
            {"curveFlat", arrayOf(p.curveFlat)},
            {"curveSpace", arrayOf(p.curveSpace)},
            {"curveEnds", arrayOf(p.curveEnds)}};
}

const char* nameOf(Remedy remedy) {
    constexpr std::array<const char*, 12> names{"none",        "otherStart",  "finerOrOther", "checkMesh",
                                                "reportFault", "moreNodes",   "moreNodes",    "otherSeed",
                                                "checkCurve",  "smallerStep", "lessMemory",   "fewerNodes"};
    return names.at(static_cast<std::size_t>(remedy));
}

tool::Settings toolSettings(const Json& settings) {
    tool::Settings all;
    all.input = page().file;
    all.millimetresPerUnit = settings.value("millimetresPerUnit", 1.0);
    all.ply = plyNameOf(settings).value_or(page().file.substr(0, page().file.find_last_of('.')));
    all.trial = trialWishesOf(settings);
    all.keepGood = settings.value("keepGood", false);
    return all;
}

tool::Scene sceneOf(const tool::Settings& forTool, const tool::CutLines& cut) {
    const Trial& t = page().trial;
    tool::Scene scene;
    scene.mould = t.mould.get();
    scene.choice = &t.choice;
    scene.grid = &t.grid;
    scene.measures = &t.measures;
    scene.cut = &cut;
    scene.millimetresPerUnit = forTool.millimetresPerUnit;
    scene.mouldName = page().file;
    scene.ply = forTool.ply;
    scene.curves = page().curves;
    scene.side = textOf(t.side);
    return scene;
}

// Settings with seed and angle. The arrays are the grid's, its measured cells (32 bytes each, of which four
// int32 nodes, from 0, come first), shears of the whole cells and then of the cut ones, and those of
// layOutNet and layOutCurves.
Json drapePart(const Json& settings) {
    Page& p = page();
    Notes notes;
    const TrialWishes wishes = trialWishesOf(settings);
    p.measured = false;
    const Surface surface = surfaceFor(settings);
    p.trial = drapeFrom(surface, wishes, seedOf(settings), settings.value("angle", 0.0), notes);
    p.measured = true;
    const tool::Settings forTool = toolSettings(settings);
    std::optional<tool::GoodPart> good; // none while something is dragged
    if (!isLive(settings)) {
        good = tool::goodPartOf(forTool, surface, p.trial, inTurn);
        if (good && forTool.keepGood) {
            p.trial = good->drape;
        }
    }
    carryCurves(settings, notes);
    const Trial& t = p.trial;
    const StatusText text = textOfStatus(t.grid.status);
    const bool ended = t.grid.status != DRAPE_OK;
    const tool::CutLines cut = tool::netLinesOf(t.measures.net);
    const tool::Story story{forTool,
                            t,
                            cut,
                            p.curves,
                            nullptr,
                            t.seconds,
                            good ? &*good : nullptr,
                            pointOf(settings, "passedOver"),
                            isLive(settings) ? std::nullopt
                                             : std::optional(areaByShear(*t.mould, t.grid, t.measures))};
    const tool::ShearScale scale = tool::shearScale(t.measures);
    Json report = Json::parse(tool::jsonOf(story));
    const tool::Scene scene = sceneOf(forTool, cut);
    return {{"report", std::move(report)},
            {"summary", tool::summaryOf(story)},
            {"end", ended ? tool::endOf(t) : std::string()},
            {"remedy", nameOf(text.remedy)},
            {"within", t.within ? Json(*t.within) : Json()},
            {"coarse", isLive(settings) && p.coarse.mould},
            {"labels", tool::plyLabels(scene)},
            {"scale", {{"top", scale.top}, {"locking", scale.locking}}},
            {"notes", notesJson(notes)},
            {"arrays", trialArrays(t)}};
}

// {seeds, angles: first, below, step}: spread seeds, each at each angle on top of the settings' own.
Json candidates(const Json& settings) {
    const Surface surface = surfaceFor(settings);
    std::vector<double> angles = usualAngles(surface);
    for (double& angle : angles) {
        angle += settings.value("angle", 0.0);
    }
    Json list = Json::array();
    for (const Candidate& c :
         candidatesOf(spreadSeeds(surface, settings.at("seeds").get<std::size_t>()), angles)) {
        list.push_back({{"candidate", c.number}, {"seed", c.seed}, {"angle", c.angle}});
    }
    return {{"candidates", list}};
}

// {candidate, seed, angle} among the settings.
Json tryCandidate(const Json& settings) {
    return tool::jsonOf(tried(
        surfaceFor(settings), trialWishesOf(settings),
        {settings.at("candidate").get<std::size_t>(), seedOf(settings), settings.at("angle").get<double>()}));
}

// {results, within}: best first, with the program's two tables.
Json ranked(const Json& call) {
    std::vector<SweepResult> results;
    for (const Json& result : call.at("results")) {
        results.push_back(tool::sweepResultOf(result));
    }
    rank(results, trialWishesOf(call).withinLargest);
    Json list = Json::array();
    for (const SweepResult& result : results) {
        list.push_back(tool::jsonOf(result));
    }
    return {{"results", list},
            {"table", tool::sweepTable(results, sweepRowsShown)},
            {"csv", tool::sweepCsv(results, true)}};
}

// {kind} among the settings: a file of the latest drape, in `bytes`.
Json fileOf(const Json& settings) {
    Page& p = page();
    if (!p.measured) {
        throw InputError("there is no drape to write");
    }
    const Trial& t = p.trial;
    const tool::CutLines cut = tool::netLinesOf(t.measures.net);
    const tool::Settings forTool = toolSettings(settings);
    tool::Scene scene = sceneOf(forTool, cut);
    scene.reportJson = tool::jsonOf({forTool, t, cut, p.curves, nullptr, t.seconds, nullptr, std::nullopt,
                                     areaByShear(*t.mould, t.grid, t.measures)});
    const std::map<std::string, std::function<std::string()>> kinds{
        {"dxf",
         [&] {
             return tool::outlineDxf({&scene, 1});
         }},
        {"glb", [&] { return tool::gridGltf(scene, true); }},
        {"gltf", [&] { return tool::gridGltf(scene, false); }},
        {"csv", [&] { return tool::fibresCsv(scene); }},
        {"json", [&] { return scene.reportJson; }}};
    p.bytes = kinds.at(settings.at("kind").get<std::string>())();
    return Json::object();
}

// Colours below the locking angle and beyond it, red, green and blue from 0 to 255, evenly over the angles.
Json colours(const Json&) {
    constexpr int steps = 128;
    Json cool = Json::array();
    Json hot = Json::array();
    const tool::ShearScale scale{2.0, 1.0};
    for (int k = 0; k < steps; ++k) {
        const double part = static_cast<double>(k) / (steps - 1);
        for (const auto& [list, shear] :
             {std::pair{&cool, part}, std::pair{&hot, 1.0 + std::max(part, 1e-9)}}) {
            const tool::Colour c = tool::shearColour(scale, shear);
            for (const double component : {c.red, c.green, c.blue}) {
                list->push_back(std::lround(255.0 * component));
            }
        }
    }
    return {{"cool", cool}, {"hot", hot}};
}

using Operation = Json (*)(const Json&);
const std::map<std::string_view, Operation>& operations() {
    static const std::map<std::string_view, Operation> table{{"openFile", openFile},
                                                             {"openPolygons", openPolygons},
                                                             {"prepare", prepare},
                                                             {"prepareCoarse", prepareCoarse},
                                                             {"startPlaces", startPlaces},
                                                             {"tryPlace", tryPlace},
                                                             {"bestPlace", bestPlace},
                                                             {"drape", drapePart},
                                                             {"candidates", candidates},
                                                             {"try", tryCandidate},
                                                             {"rank", ranked},
                                                             {"file", fileOf},
                                                             {"colours", colours}};
    return table;
}

Json refusal(const std::string& kind, const std::string& text) {
    return {{"error", {{"kind", kind}, {"text", text}}}};
}

const char* nameOf(Refusal why) {
    constexpr std::array<const char*, 9> names{"unreadable", "unfit",     "nothingLeft",
                                               "closed",     "tooFine",   "noSuchSide",
                                               "upright",    "tooCoarse", "curveOffCloth"};
    return names.at(static_cast<std::size_t>(why));
}

Json replyTo(std::string_view operation, const std::string& json) {
    try {
        return operations().at(operation)(Json::parse(json));
    } catch (const InputError& error) {
        return refusal(nameOf(error.refusal), error.what());
    } catch (const StatusError& error) {
        return refusal("status", error.what());
    } catch (const std::bad_alloc&) {
        return refusal("memory", "there isn't enough memory for that");
    } catch (const std::exception& error) {
        return refusal("other", error.what());
    }
}

} // namespace
} // namespace drape::web

// Room for the JSON (`which` 0) or the bytes (1) of the next call; the address of its first byte.
extern "C" EMSCRIPTEN_KEEPALIVE char* page_room(int which, std::size_t size) {
    std::string& room = which == 0 ? drape::web::page().in : drape::web::page().bytes;
    try {
        room.resize(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
    return room.data();
}

// Carries out an operation; its name stands at the beginning of the JSON's room, up to a line end.
extern "C" EMSCRIPTEN_KEEPALIVE void page_call() {
    auto& page = drape::web::page();
    const std::size_t end = page.in.find('\n');
    const std::string operation = page.in.substr(0, end);
    page.out = drape::web::replyTo(operation, page.in.substr(end + 1))
                   .dump(-1, ' ', false, drape::web::Json::error_handler_t::replace);
}

// Address and length of the reply's JSON (`which` 0) or bytes (1).
extern "C" EMSCRIPTEN_KEEPALIVE const char* page_reply(int which) {
    return which == 0 ? drape::web::page().out.data() : drape::web::page().bytes.data();
}
extern "C" EMSCRIPTEN_KEEPALIVE std::size_t page_reply_length(int which) {
    return which == 0 ? drape::web::page().out.size() : drape::web::page().bytes.size();
}
