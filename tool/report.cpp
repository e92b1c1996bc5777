// Lengths and areas are in the file's unit throughout, angles in degrees, shares between 0 and 1.
#include "tool/report.h"

#include "drape.h"
#include "host/cloth/grid.h"
#include "host/cloth/status_text.h"
#include "host/mesh/box.h"
#include "host/mesh/point.h"
#include "host/mesh/text.h"
#include "tool/advice.h"
#include "tool/dart_report.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace tool {

using namespace vec;

namespace {

using Json = nlohmann::ordered_json;

constexpr double histogramBin = 5.0; // degrees
constexpr std::size_t histogramBins = 18;
constexpr std::size_t sweepEntries = 20;

Json pointJson(const Point& p) {
    return Json::array({p[0], p[1], p[2]});
}

Json mouldJson(const Trial& trial) {
    Json loops = Json::array();
    for (const Loop& loop : trial.mould->loops) {
        loops.push_back(
            {{"edges", loop.vertices.size()}, {"length", loop.length}, {"outline", loops.empty()}});
    }
    return {{"vertices", trial.mould->positions.size()},
            {"triangles", trial.mould->triangleCount()},
            {"area", trial.measures.mouldArea},
            {"within", trial.within ? Json(*trial.within) : Json()},
            {"loops", loops}};
}

Json choiceJson(const Trial& trial) {
    const Choice& c = trial.choice;
    return {{"seed", pointJson(c.seed)},
            {"warp", pointJson(c.warp)},
            {"weft", pointJson(c.weft)},
            {"normal", pointJson(c.normal)},
            {"side", textOf(trial.side)},
            {"rosette", pointJson(c.rosette)},
            {"plyAngle", plyAngle(c)},
            {"angle", trial.angle},
            {"step", Json::array({c.stepA, c.stepB})},
            {"tolerance", c.tolerance},
            {"pivot", c.pivotByGridLine ? "grid" : "shear"},
            {"nodeCapacity", c.nodeCapacity}};
}

Json resultJson(const Trial& trial) {
    const StatusText text = textOfStatus(trial.grid.status);
    const std::size_t nodesOnSurface = static_cast<std::size_t>(std::count_if(
        trial.grid.triangle.begin(), trial.grid.triangle.end(), [](std::int32_t t) { return t > 0; }));
    Json result{{"status", trial.grid.status},
                {"name", text.name},
                {"meaning", text.meaning},
                {"advice", adviceOn(text.remedy)},
                {"complete", trial.grid.status == DRAPE_OK},
                {"nodes", trial.grid.count},
                {"nodesOnSurface", nodesOnSurface},
                {"cells", trial.measures.cells.size()},
                {"cellsOnSurface", trial.measures.cellsOnSurface},
                {"coveredShare", trial.measures.coveredShare},
                {"doubledShare", trial.measures.doubledShare}};
    result["endedNear"] = trial.grid.status != DRAPE_OK && trial.grid.count > 0
                              ? pointJson(nodePosition(trial.grid, trial.grid.count - 1))
                              : Json();
    return result;
}

Json shearJson(const Measures& measures) {
    std::vector<std::size_t> counts(histogramBins, 0);
    for (const Cell& cell : measures.cells) {
        if (cell.onSurface) {
            const auto bin = static_cast<std::size_t>(std::abs(cell.shear) / histogramBin);
            ++counts[std::min(bin, histogramBins - 1)];
        }
    }
    return {{"mean", measures.meanShear},
            {"largest", measures.largestShear},
            {"lockingAngle", measures.lockingAngle},
            {"shareBeyondLocking", measures.shareBeyondLocking},
            {"largestThickness", thicknessFactor(measures.largestShear)},
            {"largestTurn", measures.largestTurn},
            {"largestTurnAt", measures.largestTurn > 0.0 ? pointJson(measures.largestTurnAt) : Json()},
            {"histogram", {{"binDegrees", histogramBin}, {"counts", counts}}}};
}

Json patternJson(const Story& story) {
    const NetPattern& net = story.trial.measures.net;
    const auto& e = net.extent;
    Json loops = Json::array();
    for (const NetLoop& loop : net.loops) {
        loops.push_back({{"area", loop.area}, {"length", loop.length}, {"outline", loop.area > 0.0}});
    }
    return {{"netArea", net.area},
            {"extent", Json::array({e[0], e[1], e[2], e[3]})},
            {"width", e[2] - e[0]},
            {"height", e[3] - e[1]},
            {"reachesEdge", net.reachesEdge()},
            {"clothEdgeLength", net.clothEdgeLength},
            {"overlapArea", net.overlapArea},
            {"areaByShear", story.areaByShear ? Json(story.areaByShear->sum) : Json()},
            {"loops", loops}};
}

Json cutJson(const CutLines& cut) {
    return {{"allowance", cut.allowance},
            {"area", cut.area},
            {"loops", cut.loops.size()},
            {"remarks", cut.remarks}};
}

Json curvesJson(std::span<const CurveResult> curves) {
    Json list = Json::array();
    for (const CurveResult& curve : curves) {
        list.push_back({{"name", curve.name},
                        {"points", curve.drawnPoints},
                        {"closed", curve.stretches.front().closed},
                        {"stretches", curve.stretches.size()},
                        {"lengthOnMould", lengthOnMould(curve)},
                        {"lengthOnPattern", lengthOnPattern(curve)}});
    }
    return list;
}

Json sweepJson(const std::vector<SweepResult>& ranked, const SweepSettings& settings) {
    Json best = Json::array();
    for (std::size_t i = 0; i < ranked.size() && i < sweepEntries; ++i) {
        const SweepResult& r = ranked[i];
        best.push_back({{"candidate", r.candidate.number},
                        {"seed", pointJson(r.candidate.seed)},
                        {"angle", r.candidate.angle},
                        {"ran", r.ran},
                        {"status", r.status},
                        {"meanShear", r.meanShear},
                        {"largestShear", r.largestShear},
                        {"shareBeyondLocking", r.shareBeyondLocking},
                        {"coveredShare", r.coveredShare},
                        {"doubledShare", r.doubledShare},
                        {"netArea", r.netArea},
                        {"within", r.within >= 0.0 ? Json(r.within) : Json()}});
    }
    return {
        {"part", settings.part}, {"parts", settings.parts}, {"candidates", ranked.size()}, {"best", best}};
}

std::string share(double value) {
    return fixed(100.0 * value, 1) + " %";
}

// A run that came to its end says nothing of how far the cloth got; the net outline does.
std::string completeText(const NetPattern& net) {
    return net.reachesEdge() ? "complete: the cloth reaches the mould's edge everywhere"
                             : "complete: the run came to its end; the cloth ends before the mould along " +
                                   number(net.clothEdgeLength) + " of its edge";
}

// Lengths of the box around the mould along x, y and z.
std::string extentsText(const Mould& mould) {
    const auto [low, high] = boxOf(mould.positions);
    return number(high[0] - low[0]) + " by " + number(high[1] - low[1]) + " by " + number(high[2] - low[2]);
}

// A point so exactly that a thousandth of a cell shows, however far from the origin.
std::string placeText(const Point& point, const Choice& choice) {
    return pointText(point, finestOf({choice.stepA, choice.stepB}));
}

std::string overlapText(const NetPattern& net) {
    return liesOverItself(net) ? "; " + number(net.overlapArea) + " of it lies over the rest of the pattern"
                               : std::string();
}

std::string goodText(const GoodPart& good) {
    return share(good.share) + " of the mould around the seed, with an outline of " +
           number(good.drape.mould->loops.front().length) + ", is within locking and in one layer" +
           (good.kept ? ", and this is what was kept"
                      : "; --keep good keeps it, --cover finds the other pieces");
}

std::string line(const std::string& name, const std::string& text) {
    return name + std::string(name.size() < 10 ? 10 - name.size() : 1, ' ') + text + "\n";
}

Json goodJson(const GoodPart* good) {
    return good == nullptr ? Json()
                           : Json{{"share", good->share},
                                  {"area", good->drape.mould->area},
                                  {"outlineLength", good->drape.mould->loops.front().length},
                                  {"largestShear", good->drape.measures.largestShear},
                                  {"kept", good->kept}};
}

} // namespace

std::string endOf(const Trial& trial) {
    const StatusText text = textOfStatus(trial.grid.status);
    std::string where;
    if (trial.grid.count > 0) {
        const std::size_t last = static_cast<std::size_t>(trial.grid.count) - 1;
        where = " near " + placeText(nodePosition(trial.grid, trial.grid.count - 1), trial.choice) +
                ", at warp " + std::to_string(trial.grid.i[last]) + ", weft " +
                std::to_string(trial.grid.j[last]);
    }
    return "the run ended with code " + std::to_string(trial.grid.status) + where + ": " + text.meaning;
}

std::span<const Dart> dartsOf(const Story& story) {
    return story.good != nullptr && story.good->kept ? std::span<const Dart>(story.good->darts)
                                                     : std::span<const Dart>();
}

std::string summaryOf(const Story& story) {
    const Trial& t = story.trial;
    const Measures& m = t.measures;
    const Choice& c = t.choice;
    std::string text = line(
        "mould", story.settings.input + ": " + counted(t.mould->triangleCount(), "triangle", "triangles") +
                     ", area " + number(m.mouldArea) + ", outline " + number(t.mould->loops.front().length) +
                     " long, extents " + extentsText(*t.mould) +
                     (t.within ? ", within " + number(*t.within) + " of the seed" : ""));
    text += line("start", "seed " + placeText(c.seed, c) + ", warp " + pointText(c.warp) + ", cells " +
                              number(c.stepA) + " by " + number(c.stepB) +
                              (c.pivotByGridLine ? ", pivots by grid line" : ", pivots by least shear"));
    if (story.passedOver) {
        text += line("place", "of those around the middle the one from which the cloth shears least; --start "
                              "middle takes " +
                                  placeText(*story.passedOver, c));
    }
    text += line("side", "the cloth lies on the side " + textOf(t.side) + ", normal " + pointText(c.normal) +
                             " at the seed");
    text += line("angle", "warp at " + number(plyAngle(c)) + " degrees from the rosette " +
                              pointText(c.rosette) + ", anticlockwise seen from that side");
    text += line("result", t.grid.status == DRAPE_OK ? completeText(m.net) : "partial: " + endOf(t));
    if (story.good != nullptr) {
        text += line("good", goodText(*story.good));
    }
    text +=
        line("cloth", std::to_string(t.grid.count) + " nodes, " + counted(m.cellsOnSurface, "cell", "cells") +
                          " on the mould; the cloth covers " + share(m.coveredShare) + " of it");
    text += line("shear", "mean " + fixed(m.meanShear, 1) + " degrees, largest " + fixed(m.largestShear, 1) +
                              ", " + share(m.shareBeyondLocking) +
                              " of the cells beyond the locking angle of " + number(m.lockingAngle));
    text += line("turn",
                 "largest turn of a yarn between neighbouring cells " + fixed(m.largestTurn, 1) + " degrees");
    text +=
        line("pattern", "net area " + number(m.net.area) + ", " + number(m.net.extent[2] - m.net.extent[0]) +
                            " by " + number(m.net.extent[3] - m.net.extent[1]) + overlapText(m.net));
    for (const Dart& dart : dartsOf(story)) {
        text += line("dart", dartText(dart));
    }
    if (story.cut.allowance > 0.0) {
        text += line("cut", "line " + number(story.cut.allowance) + " outside the net, around an area of " +
                                number(story.cut.area));
    }
    for (const CurveResult& curve : story.curves) {
        const bool whole = curve.stretches.front().closed;
        text += line("curve", curve.name + ": closed line through " +
                                  counted(curve.drawnPoints, "point", "points") + ", " +
                                  number(lengthOnMould(curve)) + " long on the mould, " +
                                  number(lengthOnPattern(curve)) + " on the pattern" +
                                  (whole ? ""
                                         : "; cut where it leaves the cloth, into " +
                                               counted(curve.stretches.size(), "stretch", "stretches")));
    }
    return text;
}

std::string jsonOf(const Story& story) {
    Json report{{"format", "drape-report"},
                {"version", reportVersion},
                {"program", "drape " DRAPE_TOOL_VERSION},
                {"input",
                 {{"file", story.settings.input}, {"millimetresPerUnit", story.settings.millimetresPerUnit}}},
                {"mould", mouldJson(story.trial)},
                {"choice", choiceJson(story.trial)},
                {"result", resultJson(story.trial)},
                {"shear", shearJson(story.trial.measures)},
                {"pattern", patternJson(story)},
                {"cut", cutJson(story.cut)},
                {"good", goodJson(story.good)},
                {"darts", dartsJson(dartsOf(story))},
                {"curves", curvesJson(story.curves)},
                {"sweep", story.ranked != nullptr ? sweepJson(*story.ranked, story.settings.sweep) : Json()},
                {"seconds", {{"run", story.trial.seconds}, {"wall", story.wallSeconds}}}};
    return report.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

} // namespace tool
