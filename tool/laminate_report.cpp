// Lengths and areas are in the file's unit throughout, angles in degrees, masses in grams.
#include "tool/laminate_report.h"

#include "host/cloth/status_text.h"
#include "host/mesh/text.h"
#include "tool/dart_report.h"
#include "tool/write/core_table.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>

namespace tool {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t pliesShown = 60;

Json pointJson(const Point& p) {
    return Json::array({p[0], p[1], p[2]});
}

template <class Value>
Json orNull(const std::optional<Value>& value) {
    return value ? Json(*value) : Json();
}

Json drapeJson(const PlySheet& sheet) {
    const Trial& trial = *sheet.drape;
    const Measures& m = sheet.measures;
    const auto& fibres = sheet.ply->fibres;
    const auto isOfPiece = [&](const ElementFibres& f) {
        return f.cover != ElementCover::none && (sheet.piece == 0 || at(f.piece) + 1 == sheet.piece);
    };
    const auto covered = std::count_if(fibres.begin(), fibres.end(), isOfPiece);
    return {{"status", trial.grid.status},
            {"seed", pointJson(trial.choice.seed)},
            {"warp", pointJson(trial.choice.warp)},
            {"weft", pointJson(trial.choice.weft)},
            {"normal", pointJson(trial.choice.normal)},
            {"side", textOf(trial.side)},
            {"step", Json::array({trial.choice.stepA, trial.choice.stepB})},
            {"cells", m.cellsOnSurface},
            {"meanShear", m.meanShear},
            {"largestShear", m.largestShear},
            {"lockingAngle", m.lockingAngle},
            {"shareBeyondLocking", m.shareBeyondLocking},
            {"coveredShare", sheet.coveredShare},
            {"netArea", sheet.area},
            {"width", m.net.extent[2] - m.net.extent[0]},
            {"height", m.net.extent[3] - m.net.extent[1]},
            {"mass", orNull(sheet.mass)},
            {"darts", dartsJson(sheet.scene.darts)},
            {"elements", covered}};
}

Json piecesJson(const LaminateStory& story, const LaidPly& ply) {
    Json pieces = Json::array();
    for (const auto& sheet : story.sheets) {
        if (sheet->ply == &ply) {
            pieces.push_back(drapeJson(*sheet));
            pieces.back()["name"] = sheet->name();
        }
    }
    return {{"coveredShare", ply.pieces->coveredShare},
            {"overlapShare", ply.pieces->overlapShare},
            {"seamLength", ply.pieces->seamLength},
            {"pieces", pieces}};
}

// `sheet` is the ply's first.
Json plyJson(const LaminateStory& story, const PlySheet& sheet) {
    const PlyWish& wish = sheet.ply->wish;
    Json notes = Json::array();
    for (const Note& note : sheet.ply->notes) {
        notes.push_back(note.text);
    }
    return {{"sequence", sheet.sequence},
            {"name", wish.name},
            {"cloth", wish.cloth.name},
            {"thickness", wish.cloth.thickness > 0.0 ? Json(wish.cloth.thickness) : Json()},
            {"angle", wish.angle},
            {"after", wish.after},
            {"region", wish.region.empty() ? Json() : Json(wish.region)},
            {"trouble", sheet.ply->trouble.empty() ? Json() : Json(sheet.ply->trouble)},
            {"notes", notes},
            {"drape", sheet.isDraped() && sheet.piece == 0 ? drapeJson(sheet) : Json()},
            {"cover", sheet.piece > 0 ? piecesJson(story, *sheet.ply) : Json()}};
}

Json coreJson(const LaminateStory& story, const CoreSample& core) {
    Json layers = Json::array();
    for (const CoreLayer& layer : core.layers) {
        const LaidPly& ply = story.laminate.plies[layer.ply];
        layers.push_back(
            {{"sequence", layer.ply + 1},
             {"name", ply.wish.name},
             {"piece", ply.inPieces() ? Json(layer.fibres.piece + 1) : Json()},
             {"cloth", ply.wish.cloth.name},
             {"angle", std::isfinite(layer.fibres.toRosette) ? Json(layer.fibres.toRosette) : Json()},
             {"shear", layer.fibres.shear},
             {"otherSide", layer.onOtherSide},
             {"bottom", layer.bottom},
             {"thickness", layer.thickness},
             {"warp", pointJson(layer.fibres.warp)},
             {"weft", pointJson(layer.fibres.weft)}});
    }
    return {{"asked", pointJson(core.asked)},
            {"place", pointJson(core.place)},
            {"normal", pointJson(core.normal)},
            {"element",
             core.element >= 0 ? Json(story.laminate.shell.elements[at(core.element)].number) : Json()},
            {"thickness", core.thickness},
            {"layers", layers}};
}

// A table with columns as wide as what stands in them; the first two to the left, the others to the right.
std::string aligned(const std::vector<std::vector<std::string>>& rows) {
    std::vector<std::size_t> width(rows.front().size(), 0);
    for (const auto& row : rows) {
        for (std::size_t c = 0; c < row.size(); ++c) {
            width[c] = std::max(width[c], row[c].size());
        }
    }
    std::string text;
    for (const auto& row : rows) {
        std::string line;
        for (std::size_t c = 0; c < row.size(); ++c) {
            const std::string gap(width[c] - row[c].size(), ' ');
            line += (c > 0 ? "  " : "") + (c == 1 || c == 2 ? row[c] + gap : gap + row[c]);
        }
        text += line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
    }
    return text;
}

} // namespace

std::string laminateSummary(const LaminateStory& story) {
    std::vector<std::vector<std::string>> rows{
        {"no", "ply", "cloth", "angle", "net area", "mean shear", "largest", "locked", "covers"}};
    for (const auto& sheet : story.sheets) {
        if (rows.size() > pliesShown) {
            break;
        }
        const Measures& m = sheet->measures;
        const PlyWish& wish = sheet->ply->wish;
        rows.push_back({sheet->number(), sheet->name(), wish.cloth.name, number(wish.angle)});
        if (sheet->isDraped()) {
            rows.back().insert(rows.back().end(),
                               {number(sheet->area), fixed(m.meanShear, 1), fixed(m.largestShear, 1),
                                fixed(100.0 * m.shareBeyondLocking, 1) + " %",
                                fixed(100.0 * sheet->coveredShare, 1) + " %"});
        } else {
            rows.back().insert(rows.back().end(), {"-", "-", "-", "-", "-"});
        }
    }
    const Laminate& laminate = story.laminate;
    std::string text = "laminate  " + counted(laminate.plies.size(), "ply", "plies") + " on " +
                       story.settings.input + ", " +
                       counted(laminate.shell.elements.size(), "element", "elements") + ", rosette " +
                       pointText(laminate.rosette) + ", side " + textOf(laminate.side) + "\n";
    text += aligned(rows);
    if (story.sheets.size() > pliesShown) {
        text += "and " + counted(story.sheets.size() - pliesShown, "more row", "more rows") + "\n";
    }
    for (std::size_t s = 0; s < std::min(pliesShown, story.sheets.size()); ++s) {
        for (const Dart& dart : story.sheets[s]->scene.darts) {
            text += "dart      of " + story.sheets[s]->name() + ": " + dartText(dart) + "\n";
        }
    }
    for (const CoreSample& core : story.cores) {
        text += coreText(laminate, core);
    }
    return text;
}

std::string laminateJson(const LaminateStory& story) {
    const Laminate& laminate = story.laminate;
    Json plies = Json::array();
    double mass = 0.0;
    bool weighed = true;
    for (const auto& sheet : story.sheets) {
        if (sheet->piece <= 1) {
            plies.push_back(plyJson(story, *sheet));
        }
        weighed = weighed && sheet->mass.has_value();
        mass += sheet->mass.value_or(0.0);
    }
    Json cores = Json::array();
    for (const CoreSample& core : story.cores) {
        cores.push_back(coreJson(story, core));
    }
    const Json report{{"format", "drape-laminate"},
                      {"version", laminateReportVersion},
                      {"program", "drape " DRAPE_TOOL_VERSION},
                      {"input",
                       {{"file", story.settings.input},
                        {"layup", story.settings.layup.file},
                        {"millimetresPerUnit", story.settings.millimetresPerUnit}}},
                      {"rosette", pointJson(laminate.rosette)},
                      {"side", textOf(laminate.side)},
                      {"buildUp", story.settings.layup.buildUp},
                      {"elements", laminate.shell.elements.size()},
                      {"bareElements", story.bareElements},
                      {"mass", weighed ? Json(mass) : Json()},
                      {"plies", plies},
                      {"cores", cores},
                      {"seconds", story.wallSeconds}};
    return report.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

} // namespace tool
